// What is compared: a library that can do the three jobs. Each job does all its work anew, with
// what the library's own documents show as the way to do it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tallowbrook::bench {

// What a reader got out of messages. Candidates that did the same work have the same numbers.
struct Reading {
  std::uint64_t leaves = 0;
  std::uint64_t bytes = 0;  // decoded
  std::uint64_t sum = 0;    // plain sum of the decoded bytes
  std::uint64_t to = 0;     // addresses in To

  void add_content(std::string_view block) {
    bytes += block.size();
    // Eight bytes at a time, in four sums of 16 bits: what the sum itself costs all candidates
    // hides what they differ in.
    constexpr std::uint64_t kEven = 0x00FF00FF00FF00FF;
    constexpr std::size_t kMostWords = 128;
    while (block.size() >= sizeof(std::uint64_t)) {
      const std::size_t words = std::min(block.size() / sizeof(std::uint64_t), kMostWords);
      std::uint64_t sums = 0;
      for (std::size_t i = 0; i < words; ++i) {
        std::uint64_t word;
        std::memcpy(&word, block.data() + i * sizeof word, sizeof word);
        sums += (word & kEven) + (word >> 8 & kEven);
      }
      for (int shift = 0; shift < 64; shift += 16) sum += sums >> shift & 0xFFFF;
      block.remove_prefix(words * sizeof(std::uint64_t));
    }
    for (const char c : block) sum += static_cast<unsigned char>(c);
  }
  bool operator==(const Reading&) const = default;
};

class Candidate {
 public:
  virtual ~Candidate() = default;

  [[nodiscard]] virtual std::string name() const = 0;

  // Makes a message object from the bytes and destroys it.
  virtual void load(std::string_view message) = 0;
  // Loads, takes subject, authors and recipients (names decoded) and date, and decodes each leaf
  // part to bytes, those of messages inside as well.
  virtual void read(std::string_view message, Reading& reading) = 0;
  // Loads, puts a subject and writes the message to memory; returns the bytes written.
  virtual std::size_t rewrite(std::string_view message) = 0;
};

// `library` is the path of the component.
std::unique_ptr<Candidate> make_component(const char* library);
// The rivals that were there when this was built.
std::vector<std::unique_ptr<Candidate>> make_rivals();

}  // namespace tallowbrook::bench
