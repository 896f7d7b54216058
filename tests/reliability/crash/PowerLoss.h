// The ways in which power can be lost.
//
// What SQLite expects of a disk is the limit of what happens here: what is not synced
// arrives in any order; of a write any sectors arrive, or the bytes up to any place, or
// from there; bytes around it stay as they are; and a file may grow before the bytes
// arrive that it grows by.

#ifndef VORN_TESTS_CRASH_POWERLOSS_H
#define VORN_TESTS_CRASH_POWERLOSS_H

#include <random>
#include <vector>

#include "SimulatedDisk.h"

namespace power_loss {

// All of what is pending arrives, and the first changes of the directory.
PowerLoss WithAllChanges(const SimulatedDisk& disk, std::size_t directoryChanges);

// All or nothing of what is pending arrives; files may have grown all the same.
std::vector<PowerLoss> Plain(const SimulatedDisk& disk, std::size_t directoryChanges);

// Each pending change in turn meets another fate than all the others, or is torn.
std::vector<PowerLoss> OfEachChange(const SimulatedDisk& disk, std::size_t directoryChanges);

// Every pending change meets a fate of its own.
PowerLoss Random(const SimulatedDisk& disk, std::size_t directoryChanges, std::mt19937& random);

}  // namespace power_loss

#endif  // VORN_TESTS_CRASH_POWERLOSS_H
