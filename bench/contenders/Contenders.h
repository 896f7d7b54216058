// Makes the contenders, one source each.

#ifndef VORNDATABASE_BENCH_CONTENDERS_CONTENDERS_H
#define VORNDATABASE_BENCH_CONTENDERS_CONTENDERS_H

#include <memory>

#include "Contender.h"

namespace bench {

std::unique_ptr<Contender> MakeRaw();
std::unique_ptr<Contender> MakeContract();
std::unique_ptr<Contender> MakeGetTable();
std::unique_ptr<Contender> MakeSqliteCpp();
std::unique_ptr<Contender> MakeSoci();
std::unique_ptr<Contender> MakePoco();
std::unique_ptr<Contender> MakeQt();

}  // namespace bench

#endif  // VORNDATABASE_BENCH_CONTENDERS_CONTENDERS_H
