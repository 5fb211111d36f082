// The component beside its rivals, in one run: each job over each folder of messages, all
// candidates in turn in every round, the median of the rounds.
//
//   tallowbrook-rivals [--rounds N] [--quick] [--own] [--job NAME] FOLDER...
//
// prints a table in Markdown. --quick takes one short round: it shows that everything runs, not how
// fast. --own leaves the rivals out and --job the other jobs (for a profiler). Where the messages
// were made by make_corpus.py, whoever reads other numbers of leaves or addresses than were
// written, or the component other bytes, makes the status 1.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "bench/rivals/memory.h"
#include "bench/rivals/rivals.h"

namespace tallowbrook::bench {

std::vector<std::unique_ptr<Candidate>> make_rivals() {
  std::vector<std::unique_ptr<Candidate>> rivals;
#ifdef BENCH_GMIME
  rivals.push_back(make_gmime());
#endif
#ifdef BENCH_MIMETIC
  rivals.push_back(make_mimetic());
#endif
#ifdef BENCH_ETPAN
  rivals.push_back(make_etpan());
#endif
#ifdef BENCH_VMIME
  rivals.push_back(make_vmime());
#endif
  return rivals;
}

namespace {

using Clock = std::chrono::steady_clock;
using Candidates = std::vector<std::unique_ptr<Candidate>>;
using Messages = std::vector<std::string>;

struct Effort {
  int rounds = 5;
  double seconds = 0.25;  // a measurement takes at least so long
};

struct Job {
  const char* name;
  std::function<void(Candidate&, std::string_view)> run;
};

const std::vector<Job>& jobs() {
  static const std::vector<Job> all{
      {"load", [](Candidate& candidate, std::string_view message) { candidate.load(message); }},
      {"read",
       [](Candidate& candidate, std::string_view message) {
         Reading reading;
         candidate.read(message, reading);
       }},
      {"rewrite",
       [](Candidate& candidate, std::string_view message) { (void)candidate.rewrite(message); }}};
  return all;
}

Messages read_folder(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file() && entry.path().extension() == ".eml")
      paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  Messages messages;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    messages.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return messages;
}

// Leaves out what one of the candidates takes for no message.
std::size_t drop_refused(Messages& messages, const Candidates& candidates) {
  const auto refused = [&](const std::string& message) {
    try {
      for (const auto& candidate : candidates) {
        for (const Job& job : jobs()) job.run(*candidate, message);
      }
      return false;
    } catch (const std::exception&) {
      return true;
    }
  };
  return std::erase_if(messages, refused);
}

std::size_t total_size(const Messages& messages) {
  std::size_t size = 0;
  for (const std::string& message : messages) size += message.size();
  return size;
}

// Seconds for one pass over all messages.
double seconds_a_pass(const Job& job, Candidate& candidate, const Messages& messages,
                      const Effort& effort) {
  const auto start = Clock::now();
  int passes = 0;
  double taken = 0;
  do {
    for (const std::string& message : messages) job.run(candidate, message);
    ++passes;
    taken = std::chrono::duration<double>(Clock::now() - start).count();
  } while (taken < effort.seconds);
  return taken / passes;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void compare(const std::string& folder, const Job& job, const Candidates& candidates,
             const Messages& messages, const Effort& effort) {
  std::vector<std::vector<double>> times(candidates.size());
  for (int round = 0; round < effort.rounds; ++round) {
    for (std::size_t i = 0; i < candidates.size(); ++i) {
      times[i].push_back(seconds_a_pass(job, *candidates[i], messages, effort));
    }
  }
  const auto size = static_cast<double>(total_size(messages));
  const auto count = static_cast<double>(messages.size());
  const auto& largest = *std::max_element(
      messages.begin(), messages.end(),
      [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
  const double own = median(times.front());
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    Candidate& candidate = *candidates[i];
    const double time = median(times[i]);
    const auto allocations = static_cast<double>(allocations_of([&] {
      for (const std::string& message : messages) job.run(candidate, message);
    }));
    const auto peak = static_cast<double>(peak_of([&] { job.run(candidate, largest); }));
    std::printf("| %s | %s | %s | %.0f | %.0f | %.1f | %.2f | %.2f |\n", folder.c_str(), job.name,
                candidate.name().c_str(), size / time / 1e6, count / time, allocations / count,
                peak / static_cast<double>(largest.size()), time / own);
  }
  std::fflush(stdout);
}

// What make_corpus.py wrote into the folder; nothing for other messages.
std::optional<Reading> truth_of(const std::filesystem::path& folder) {
  std::ifstream file(folder.parent_path() / "truth.json");
  if (!file) return std::nullopt;
  const auto truth = nlohmann::json::parse(file).at(folder.filename().string());
  return Reading{truth.at("leaves"), truth.at("decoded_bytes"), truth.at("decoded_sum"),
                 truth.at("to_addresses")};
}

// Prints all candidates' readings; false when one skipped work.
bool check_readings(const std::filesystem::path& folder, const Candidates& candidates,
                    const Messages& messages) {
  const std::optional<Reading> truth = truth_of(folder);
  bool right = true;
  for (const auto& candidate : candidates) {
    Reading reading;
    for (const std::string& message : messages) candidate->read(message, reading);
    std::fprintf(stderr, "%-8s %-12s leaves %llu, bytes %llu, sum %llu, To %llu\n",
                 folder.filename().c_str(), candidate->name().c_str(),
                 static_cast<unsigned long long>(reading.leaves),
                 static_cast<unsigned long long>(reading.bytes),
                 static_cast<unsigned long long>(reading.sum),
                 static_cast<unsigned long long>(reading.to));
    const bool own = candidate == candidates.front();
    if (truth &&
        (own ? reading != *truth : reading.leaves != truth->leaves || reading.to != truth->to)) {
      right = false;
    }
  }
  return right;
}

int run(int count, char** arguments) {
  Effort effort;
  std::vector<std::filesystem::path> folders;
  std::string_view only_job;
  bool own = false;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument(arguments[i]);
    if (argument == "--quick") {
      effort = {1, 0};
    } else if (argument == "--own") {
      own = true;
    } else if (argument == "--job" && i + 1 < count) {
      only_job = arguments[++i];
    } else if (argument == "--rounds" && i + 1 < count) {
      effort.rounds = std::max(1, std::atoi(arguments[++i]));
    } else {
      folders.emplace_back(argument);
    }
  }
  Candidates candidates = own ? Candidates() : make_rivals();
  candidates.insert(candidates.begin(), make_component(TALLOWBROOK_LIBRARY));
  std::printf(
      "| messages | job | library | MB/s | messages/s | allocations/message | peak/size | time |\n"
      "|---|---|---|---:|---:|---:|---:|---:|\n");
  bool right = true;
  for (const auto& folder : folders) {
    const std::string name = folder.filename().string();
    Messages messages = read_folder(folder);
    const std::size_t refused = drop_refused(messages, candidates);
    if (refused > 0) std::fprintf(stderr, "%s: %zu messages left out\n", name.c_str(), refused);
    if (messages.empty()) continue;
    right = check_readings(folder, candidates, messages) && right;
    for (const Job& job : jobs()) {
      if (only_job.empty() || only_job == job.name) {
        compare(name, job, candidates, messages, effort);
      }
    }
  }
  return right ? 0 : 1;
}

}  // namespace
}  // namespace tallowbrook::bench

int main(int count, char** arguments) {
  try {
    return tallowbrook::bench::run(count, arguments);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "tallowbrook-rivals: %s\n", failure.what());
    return 2;
  }
}
