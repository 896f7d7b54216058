#include "contenders/Contenders.h"

namespace bench {

std::unique_ptr<Contender> MakeQuietVorn() { return MakeVorn(); }

}  // namespace bench
