#include "Library.h"

namespace bench {

std::unique_ptr<Library> MakeQuietVorn() { return MakeVorn(); }

}  // namespace bench
