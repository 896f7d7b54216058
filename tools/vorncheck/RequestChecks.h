// The checks of a request when its operation begins.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_REQUESTCHECKS_H
#define VORNDATABASE_TOOLS_VORNCHECK_REQUESTCHECKS_H

#include "Operation.h"

class BasePath;
class CreateRequest;
class DeleteRequest;
class DropRequest;
class JoinRequest;
class SelectRequest;
class UpdateRequest;
class UpsertRequest;

namespace vorncheck {

// Checks the names and conditions of a request, and makes its names and values the subject of the
// operation.
void CheckRequest(Operation& operation, const CreateRequest& request);
void CheckRequest(Operation& operation, const DeleteRequest& request);
void CheckRequest(Operation& operation, const DropRequest& request);
void CheckRequest(Operation& operation, const JoinRequest& request);
void CheckRequest(Operation& operation, const SelectRequest& request);
void CheckRequest(Operation& operation, const UpdateRequest& request);
void CheckRequest(Operation& operation, const UpsertRequest& request);

// Likewise for the table whose existence is checked.
void CheckExistence(Operation& operation, const char* table);

// Checks the path, and the form of the names in the subject.
void CheckCommon(Operation& operation, const BasePath& path);

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_REQUESTCHECKS_H
