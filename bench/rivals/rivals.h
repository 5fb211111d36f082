// The rivals that this program was built with (BENCH_GMIME and so on say which).
#pragma once

#include "bench/rivals/candidate.h"

namespace tallowbrook::bench {

std::unique_ptr<Candidate> make_gmime();
std::unique_ptr<Candidate> make_mimetic();
std::unique_ptr<Candidate> make_etpan();
std::unique_ptr<Candidate> make_vmime();

}  // namespace tallowbrook::bench
