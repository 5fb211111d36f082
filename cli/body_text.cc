#include "cli/body_text.h"

#include <algorithm>

#include "cli/content.h"
#include "cli/html_text.h"

namespace tallowbrook::cli {
namespace {

// How well a part says what the message says. Texts of messages inside come after all others.
enum Rank : int { kNone = 0, kOther = 1, kHtml = 2, kPlain = 3, kOutside = 4 };

int rank_of(const Part& part) {
  if (part.multipart || part.children > 0 || same_name(part.disposition, "attachment")) {
    return kNone;
  }
  const int outside = part.inside ? 0 : kOutside;
  if (part.type == "text/plain") return outside + kPlain;
  if (part.type == "text/html") return outside + kHtml;
  return part.type.starts_with("text/") ? outside + kOther : kNone;
}

struct Best {
  std::size_t part = Part::kNoParent;
  int rank = kNone;
};

bool is_blank(const std::string& text) { return text.find_first_not_of(" \t\r\n") == text.npos; }

std::string readable(const Object& body, const Part& part) {
  const std::string text = content_text(body, part);
  return part.type == "text/html" ? html_to_text(text) : text;
}

}  // namespace

// Children follow their parents in the list: from its end every part is settled before its parent.
std::size_t best_text(const std::vector<Part>& parts) {
  std::vector<Best> best(parts.size());
  for (std::size_t i = parts.size(); i-- > 0;) {
    if (const int rank = rank_of(parts[i]); rank != kNone) best[i] = {i, rank};
    if (parts[i].parent == Part::kNoParent) break;
    Best& parent = best[parts[i].parent];
    const bool alternative = parts[parts[i].parent].type == "multipart/alternative";
    // An earlier sibling takes the place of a later one, unless it says less.
    const bool better = alternative ? best[i].rank >= parent.rank
                                    : best[i].rank / kOutside >= parent.rank / kOutside;
    if (best[i].rank != kNone && better) parent = best[i];
  }
  return parts.empty() ? Part::kNoParent : best.front().part;
}

std::string body_text(std::vector<Part> parts, const std::vector<Object>& handles) {
  const std::size_t chosen = best_text(parts);
  if (chosen == Part::kNoParent) return {};
  std::string text = readable(handles[chosen], parts[chosen]);
  const std::size_t parent = parts[chosen].parent;
  const bool alternative =
      parent != Part::kNoParent && parts[parent].type == "multipart/alternative";
  if (!alternative || !is_blank(text)) return text;
  parts[chosen].disposition = "attachment";  // out of the choice
  const std::size_t other = best_text(parts);
  return other == Part::kNoParent ? text : readable(handles[other], parts[other]);
}

}  // namespace tallowbrook::cli
