// Mail from people who mean harm, made while it is read, so that the test itself holds none of it.
//
// Each message is loaded, walked, exported, read, edited and saved on a thread with a small stack,
// in a process of its own. Held is what loading, walking and saving take of address space, over the
// size of the message; time is the thread's own, for all of it, at a quarter of the size and at the
// whole: what grows with the square takes 16 times as long.
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tallowbrook/mime_body.h"
#include "tests/model/host.h"
#include "writer/stack_stream.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" int __lsan_do_recoverable_leak_check() __attribute__((weak));
#endif

namespace tallowbrook::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kWatched = true;  // slower, with larger frames and address space of its own
#else
constexpr bool kWatched = false;
#endif
constexpr std::size_t kStack = kWatched ? 2'000'000 : 256 * 1024;
constexpr std::size_t kSpare = std::size_t{64} << 20;
// Times a message's size that reading its texts and lists may take: texts are wide.
constexpr std::size_t kRead = 10;

// `text` repeated, each "#" in it being the number of the repetition, which may count down.
struct Piece {
  std::string text;
  std::size_t count = 1;
  bool down = false;
};
using Mail = std::vector<Piece>;

std::size_t whole(std::size_t count) { return kWatched ? count / 100 + 1 : count; }

// Gives a message, 8192 bytes at a time as it is asked for, and tells how long it was.
class Source final : public StackStream {
 public:
  explicit Source(const Mail& mail) : mail_(mail) {}

  // The length of the message, of which nothing is left then.
  std::size_t drain() {
    std::size_t size = 0;
    for (; fill(); at_ = unit_.size()) size += unit_.size();
    return size;
  }

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
    auto* to = static_cast<char*>(pv);
    ULONG done = 0;
    while (done < cb && fill()) {
      const std::size_t size = std::min<std::size_t>(cb - done, unit_.size() - at_);
      std::memcpy(to + done, unit_.data() + at_, size);
      at_ += size;
      done += static_cast<ULONG>(size);
    }
    *read = done;
    return done == cb ? S_OK : S_FALSE;
  }

 private:
  // False at the end of the message.
  bool fill() {
    while (at_ == unit_.size()) {
      if (piece_ == mail_.size()) return false;
      const Piece& piece = mail_[piece_];
      if (index_ == piece.count) {
        ++piece_;
        index_ = 0;
        continue;
      }
      const std::size_t number = piece.down ? piece.count - 1 - index_ : index_;
      at_ = 0;
      if (index_++ == 0 || piece.text.find('#') != std::string::npos) {
        unit_.clear();
        for (const char c : piece.text) c == '#' ? unit_ += std::to_string(number) : unit_ += c;
      }
    }
    return true;
  }

  const Mail& mail_;
  std::size_t piece_ = 0;
  std::size_t index_ = 0;
  std::string unit_;
  std::size_t at_ = 0;
};

// Takes everything and keeps a hash of it.
class Sink final : public StackStream {
 public:
  std::size_t taken = 0;
  std::uint64_t hash = 14695981039346656037U;  // FNV-1a, by blocks

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    taken += cb;
    for (ULONG i = 0; i < cb; i += kWatched ? 1 : 97) {
      hash = (hash ^ static_cast<const unsigned char*>(pv)[i]) * 1099511628211U;
    }
    if (written != nullptr) *written = cb;
    return S_OK;
  }
};

double thread_time() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Bytes of address space that are mapped.
std::size_t address_space() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<std::size_t>(getpagesize());
}

std::size_t save(const ComPtr<IMimeDecoder>& message) {
  Sink sink;
  EXPECT_EQ(message.query<IPersistStream>()->Save(&sink, FALSE), S_OK);
  return sink.taken;
}

// A property, which may be absent or broken but must not want more memory than there is.
Variant ask(const ComPtr<IDispatch>& of, std::u16string_view name) {
  auto outcome = platform::get(of.get(), name);
  EXPECT_NE(outcome.status, E_OUTOFMEMORY) << to_ansi(name);
  return std::move(outcome.value);
}

// Of each item of a list, these properties.
void ask_items(const ComPtr<IDispatch>& list,
               std::initializer_list<std::u16string_view> names = {}) {
  const Variant count = ask(list, u"Count");
  for (LONG i = 0; count.vt == VT_I4 && i < count.lVal; ++i) {
    const auto outcome = platform::get(list.get(), u"Item", i);
    EXPECT_NE(outcome.status, E_OUTOFMEMORY);
    for (const auto name : names) (void)ask(object(outcome.value), name);
  }
}

// The parts that a host gets at, each by way of the one above it, with the contents exported and
// the texts read. Messages inside messages are opened some levels deep, as each is a copy.
void walk(const ComPtr<IMimeDecoder>& message, bool texts) {
  constexpr LONG kMessageType = 6;
  struct Level {
    ComPtr<IMimeBody> part;
    LONG next = 0;
    LONG count = 0;
  };
  std::vector<Level> levels;
  int messages = 0;
  const auto enter = [&](const ComPtr<IDispatch>& handle) {
    Level level{handle.query<IMimeBody>()};
    const ComPtr<IMimeBody>& part = level.part;
    const Variant type = ask(part, u"MajorContentType");
    if (type.vt != VT_I4 || type.lVal != kMessageType || ++messages <= 3) {
      EXPECT_EQ(part->get_Count(&level.count), S_OK);
    }
    const LONG count = level.count;
    levels.push_back(level);
    Sink sink;
    VARIANT_BOOL done = VARIANT_FALSE;
    if (count == 0) (void)part->Export(&sink, &done);
    if (!texts) return;
    for (const char16_t* const name : {u"MinorContentType", u"Encoding", u"Charset", u"Name",
                                       u"Description", u"ContentID", u"FileName", u"Value"}) {
      (void)ask(part, name);
    }
    const ComPtr<IDispatch> held(part);
    const auto parameters = object(object(held, u"ContentType"), u"Parameters");
    ask_items(object(held, u"Fields"));
    ask_items(parameters);
  };
  enter(object(message, u"Body"));
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next < level.count) {
      ComPtr<IDispatch> child;
      EXPECT_EQ(level.part->get_Item(level.next++, child.out()), S_OK);
      enter(child);
    } else if (levels.size() > 1000) {
      levels.clear();  // the deepest last, which holds all the others
    } else {
      levels.pop_back();
    }
  }
}

void read_fields(const ComPtr<IMimeDecoder>& message) {
  for (const char16_t* const name :
       {u"ReturnPath", u"ReplyTo", u"From", u"Sender", u"ResentFrom", u"ResentSender",
        u"ResentReplyTo", u"ResentDate", u"Date", u"To", u"CC", u"BCC", u"Subject", u"MessageID",
        u"ReturnReceiptTo", u"SubjectRaw", u"MessageHeader", u"Name", u"Received"}) {
    ask_items(object(ask(message, name)), {u"Address", u"RouteAddress", u"Date", u"From"});
  }
}

struct Figures {
  HRESULT status = E_FAIL;
  std::size_t size = 0;
  double seconds = 0;
};

// Lets the process have so much more address space than it has now, while this object lives.
class Limit {
 public:
  explicit Limit(std::size_t more) {
    malloc_trim(0);
    getrlimit(RLIMIT_AS, &before_);
    rlimit limit = before_;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, address_space() + more);
    EXPECT_TRUE(kWatched || setrlimit(RLIMIT_AS, &limit) == 0);
  }
  ~Limit() { setrlimit(RLIMIT_AS, &before_); }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

 private:
  rlimit before_{};
};

// A message's whole life. With `raw`, it keeps the bytes it was loaded from.
Figures live(const Mail& mail, std::size_t for_elements, bool raw) {
  Figures figures;
  Source measured(mail);
  figures.size = measured.drain();
  const auto message = new_message();
  message->put_CollectRawStream(raw ? VARIANT_TRUE : VARIANT_FALSE);
  Source source(mail);
  const double start = thread_time();
  {
    const Limit limit(figures.size * (raw ? 3 : 1) + kSpare + for_elements);
    figures.status = message.query<IPersistStream>()->Load(&source);
    if (SUCCEEDED(figures.status)) {
      walk(message, false);
      const std::size_t saved = save(message);
      EXPECT_TRUE(!raw || saved == figures.size) << saved;
    }
  }
  {
    const Limit limit(kRead * (figures.size + for_elements) + kSpare);
    read_fields(message);
    if (SUCCEEDED(figures.status)) {
      walk(message, true);
      EXPECT_EQ(put(message.get(), u"Subject", text("edited")), S_OK);
      (void)save(message);
    }
    const_cast<ComPtr<IMimeDecoder>&>(message).reset();
  }
  figures.seconds = thread_time() - start;
  return figures;
}

struct Case {
  const char* name;
  std::size_t count;  // of whatever there is much of
  Mail (*mail)(std::size_t count);
  std::size_t each = 0;  // bytes that one of them may take beside its text
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

// `bytes` as lines of a unit each.
Piece much(std::size_t bytes, const std::string& unit) { return {unit, bytes / unit.size() + 1}; }

const std::string kParts = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
const std::string kLine = std::string(100, 'x');

using N = std::size_t;
#define OF(head, each) [](N n) -> Mail { return {{head}, {each, n}, {"\r\n\r\nx\r\n"}}; }

const Case kCases[] = {
    {"NestedMultiparts", 100'000,
     [](std::size_t n) -> Mail {
       return {{"Content-Type: multipart/mixed; boundary=b#\r\n\r\n--b#\r\n", n},
               {"\r\nx\r\n"},
               {"--b#--\r\n", n, true}};
     },
     200},
    {"NestedMultipartsWithoutEnd", 100'000,
     [](N n) -> Mail {
       return {{"Content-Type: multipart/mixed; boundary=b#\r\n\r\n--b#\r\n", n}};
     },
     200},
    {"NestedMessages", 100'000,
     [](N n) -> Mail {
       return {{"Content-Type: message/rfc822\r\n\r\n", n}, {"\r\nx\r\n"}};
     }},
    {"NestedMessagesInParts", 100'000,
     [](N n) -> Mail {
       return {{"Content-Type: multipart/digest; boundary=b#\r\n\r\n--b#\r\n"
                "Content-Type: message/rfc822\r\n\r\n",
                n},
               {"\r\nx\r\n"}};
     },
     200},
    {"MillionParts", 1'000'000,
     [](N n) -> Mail {
       return {{kParts}, {"--b\r\n\r\nx\r\n", n}, {"--b--\r\n"}};
     },
     200},
    {"MillionEmptyParts", 1'000'000,
     [](N n) -> Mail {
       return {{kParts}, {"--b\r\n", n}};
     },
     200},
    {"MillionFields", 1'000'000,
     [](N n) -> Mail {
       return {{"X-#: v\r\n", n}, {"\r\nx\r\n"}};
     },
     256},
    {"MillionToFields", 1'000'000,
     [](N n) -> Mail {
       return {{"To: a#@b.c\r\n", n}, {"\r\nx\r\n"}};
     },
     64},
    {"MillionTraceFields", 1'000'000,
     [](N n) -> Mail {
       return {{"Received: by a; 1 Jan 2000 10:00\r\n", n}, {"\r\n"}};
     },
     64},
    {"HeaderLineOf100MB", 100'000'000,
     [](N n) -> Mail {
       return {{"X: "}, much(n, kLine), {"\r\n\r\nx\r\n"}};
     }},
    {"SubjectOf100MB", 100'000'000,
     [](N n) -> Mail {
       return {{"Subject: "}, much(n, kLine), {"\r\n\r\nx\r\n"}};
     }},
    {"FoldedSubjectOf100MB", 100'000'000,
     [](N n) -> Mail {
       return {{"Subject: "}, much(n, "x y\r\n "), {"x\r\n\r\nx\r\n"}};
     }},
    {"ContentTypeOf100MB", 100'000'000,
     [](N n) -> Mail {
       return {{"Content-Type: text/plain; name=\""}, much(n, kLine), {"\"\r\n\r\nx\r\n"}};
     },
     7},
    {"BodyLineOf100MB", 100'000'000,
     [](N n) -> Mail {
       return {{"X: y\r\n\r\n"}, much(n, kLine), {"\r\n"}};
     }},
    {"MillionRecipients", 1'000'000,
     [](N n) -> Mail {
       return {{"To: "}, {"a#@b.c, ", n}, {"z@b.c\r\n\r\n"}};
     },
     64},
    {"MillionRecipientsOneOfThemBroken", 1'000'000,
     [](N n) -> Mail {
       return {{"To: x <<y, "}, {"a#@b.c, ", n}, {"z@b.c\r\n\r\n"}};
     },
     64},
    {"MillionRecipientsInAGroup", 1'000'000,
     [](N n) -> Mail {
       return {{"To: g:"}, {"\"N #\" <a#@b.c>, ", n}, {"z@b.c;\r\n\r\n"}};
     },
     64},
    {"Colons", 99'999, OF("To: ", ":")},
    {"Commas", 99'999, OF("To: ", ",")},
    {"Quotes", 99'999, OF("To: ", "\"")},
    {"OpenComments", 99'999, OF("To: ", "(")},
    {"OpenBrackets", 99'999, OF("To: ", "<")},
    {"OpenLiterals", 99'999, OF("From: ", "a@[")},
    {"OpenCommentsOfOneAddress", 99'999, OF("Sender: ", "(")},
    {"Backslashes", 99'999, OF("Sender: ", "\"\\")},
    {"MillionParameters", 1'000'000, OF("Content-Type: text/plain", "; p#=v"), 160},
    {"MillionSemicolons", 1'000'000, OF("Content-Type: text/plain", ";")},
    {"MillionDispositionParameters", 1'000'000, OF("Content-Disposition: attachment", "; p#=v")},
    {"EncodedWordsInEncodedWords", 1'000'000,
     OF("Subject: ", "=?utf-8?Q?=3D=3Futf-8=3FQ=3Fa=3F=3D?= ")},
    {"EncodedWordsInNames", 100'000,
     OF("To: a@b", ", =?utf-8?Q?=22=2C_=3D=3Futf-8=3FB=3FYQ=3D=3D=3F=3D?= <a#@b>")},
    {"EncodedWordsWithoutEnd", 1'000'000, OF("Subject: ", "=?utf-8?Q?")},
    {"BoundaryOf1MB", 1'000'000,
     [](N n) -> Mail {
       const std::string b = std::string(n, 'b');
       return {{"Content-Type: multipart/mixed; boundary=\"" + b + "\"\r\n\r\n"},
               {"--" + b + "\r\n\r\nx\r\n", 20},
               {"--" + b.substr(1) + "\r\n", 20},
               {"--" + b + "--\r\n"}};
     }},
    {"DelimitersThatNearlyMatch", 10'000,
     [](N n) -> Mail {
       const std::string b = std::string(69, 'b');
       return {{"Content-Type: multipart/mixed; boundary=" + b + "b\r\n\r\n--" + b + "b\r\n\r\n"},
               {"--" + b + "\r\n", n},
               {"--" + b + "c\r\n", n},
               {" --" + b + "b\r\n", n},
               {"--" + b + "bb\r\n", n},
               {"-" + b + "b\r\n", n},
               {"--" + b + "b-\r\n", n}};
     }},
    {"BoundariesThatBeginAnother", 20'000,
     [](N n) -> Mail {
       // Two kinds of delimiter lines, of which the inner begins as the outer does.
       return {{"Content-Type: multipart/mixed; boundary=b\r\n\r\n"},
               {"--b\r\nContent-Type: multipart/mixed; "
                "boundary=bb#\r\n\r\n--bb#\r\n\r\nx\r\n--b--x\r\n--bb#x\r\n--bb#--\r\n",
                n},
               {"--b--\r\n"}};
     }},
    {"NestedBoundariesThatBeginAnother", 2000,
     [](N n) -> Mail {
       Mail mail;
       for (N i = 1; i <= n; ++i) {
         const std::string b = std::string(i, 'b');
         mail.push_back(
             {"Content-Type: multipart/mixed; boundary=" + b + "\r\n\r\n--" + b + "\r\n"});
       }
       return mail;
     }},
    {"NULs", 10'000'000,
     [](N n) -> Mail {
       const std::string nuls = std::string(9, '\0');
       return {
           {"X: y" + nuls + "z\r\nT" + nuls + "o: a" + nuls + "@b" + nuls + "\r\n" + nuls + "\r\n"},
           much(n, nuls + "x"),
           {nuls + "\r\n"}};
     }},
    {"LoneCRs", 10'000'000,
     [](N n) -> Mail {
       return {{"X: y\r\rTo: a@b\r\n\r\n"}, much(n, "\r\rx\r")};
     }},
    {"ACRAtEveryChunkBorder", 10'000,
     [](N n) -> Mail {
       return {{std::string("X: ") + std::string(8188, 'x') + "\r"},
               {std::string(8191, 'y') + "\r", n}};
     }},
    {"AbsurdDates", 99'999,
     [](N n) -> Mail {
       return {{"Date: 99999999999999999999 Jan 99999999999999999999 99999999999:99999999999 "
                "+99999999999\r\n"
                "Resent-Date: "},
               {"9", n},
               {" Feb -1 24:60:61\r\nReceived: by x; 0 Dec 0 0:0:0 "},
               {"9", n},
               {"\r\n\r\n"}};
     }},
    {"Base64Of1GBOfEqualsSigns", 1'000'000'000,
     [](N n) -> Mail {
       return {{"Content-Transfer-Encoding: base64\r\n\r\n"},
               much(n, std::string(76, '=') + "\r\n")};
     }},
    {"UuencodeLinesOfEveryCount", 1000,
     [](N n) -> Mail {
       std::string lines = "begin 644 f\r\n";
       for (int c = 32; c < 127; ++c)
         lines += std::string(1, static_cast<char>(c)) + "#$%&" +
                  std::string(static_cast<std::size_t>(c), '!') + "\r\n";
       return {{"X: y\r\n\r\n"}, {lines + "end\r\n", n}, {lines}};
     }},
    {"ACharsetNameOf1MB", 1'000'000,
     [](N n) -> Mail {
       return {{"Subject: =?"},
               {"c", n},
               {"?Q?x?=\r\nContent-Type: text/plain; charset="},
               {"c", n},
               {"\r\n\r\nx\r\n"}};
     }},
    {"BrokenUtf8", 1'000'000,
     [](N n) -> Mail {
       const std::string broken =
           "\xC3 \xE2\x82 \xF0\x9F\x98 \xC0\xAF \xE0\x80\xAF \xED\xA0\x80 \xF8\x88\x80\x80\x80 "
           "\xFF";
       return {{"Subject: =?utf-8?Q?=C3_=E2=82_=C0=AF_=ED=A0=80?= " + broken +
                "\r\nContent-Type: text/plain; charset=utf-8; name=\"" + broken + "\"\r\n\r\n"},
               {broken + "\r\n", n},
               {"\xF0\x9F"}};
     }},
};

// Tests of this name run first: a process that had threads keeps their arenas, whose address space
// would count here.
class HostileMailDeathTest : public ::testing::TestWithParam<Case> {};

TEST_P(HostileMailDeathTest, CostsWhatItWeighs) {
  const Case& c = GetParam();
  std::function<void()> job = [&c] {
    mallopt(M_ARENA_MAX, 1);  // a further arena would reserve address space of its own
    const auto life = [&c](std::size_t count, bool raw) {
      return live(c.mail(whole(count)), whole(count) * c.each, raw);
    };
    Figures few, all;
    for (int attempt = 0; attempt < 3; ++attempt) {
      few = life(c.count / 4, false);
      all = life(c.count, false);
      if (all.seconds < 10 * few.seconds + 0.05) break;
    }
    (void)life(c.count / 4, true);
    std::printf("%s: %zu bytes, %.3f s, a quarter %.3f s\n", c.name, all.size, all.seconds,
                few.seconds);
    EXPECT_EQ(all.status, S_OK);
    EXPECT_LT(all.seconds, 10 * few.seconds + 0.05);
  };
  const pid_t child = fork();
  if (child == 0) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStack);
    pthread_t thread{};
    void* (*const run)(void*) = [](void* given) -> void* {
      (*static_cast<std::function<void()>*>(given))();
      return nullptr;
    };
    EXPECT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
    pthread_join(thread, nullptr);
#if defined(__SANITIZE_ADDRESS__)
    if (__lsan_do_recoverable_leak_check != nullptr)
      EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
    std::fflush(stdout);
    _exit(HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

INSTANTIATE_TEST_SUITE_P(Of, HostileMailDeathTest, ::testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace tallowbrook::test
