#include "parser/load.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "core/error_text.h"
#include "core/text.h"
#include "parser/actions.h"
#include "parser/grammar.h"
#include "parser/input_reader.h"
#include "parser/report.h"
#include "parser/scanner.h"
#include "parser/usual_addresses.h"
#include "parser/usual_values.h"
#include "platform/kernel/handles.h"
#include "platform/kernel/message_queue.h"
#include "platform/kernel/thread.h"
#include "platform/kernel/wait.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

constexpr std::size_t kInstances = 10;

// One scanner and parser with their state and buffers, which are kept from load to load.
struct ParserInstance {
  Scanner scanner;
  Actions actions{scanner};
  std::optional<GrammarParser> parser;  // kept for its stack
};

// Input from which on a run may have made the parser's stack or the scanner's buffer large.
constexpr std::size_t kLargeInput = std::size_t{1} << 20;

// Loads that this thread is inside of. A mutex would hand its owner the same instance once more, so
// a load within a load gets an instance of its own.
thread_local int t_running = 0;

struct Running {
  explicit Running(ParserInstance& running) : instance(running) { ++t_running; }
  ~Running() {
    --t_running;
    if (instance.scanner.bytes_read() > kLargeInput) instance.parser.reset();
    instance.scanner.release_large_buffer();
  }
  ParserInstance& instance;
};

// Runs the instance over the run's input, to the end or to the first error.
void run_instance(ParserInstance& instance, ParseRun& run) {
  const Running running(instance);
  run.failed = false;
  run.read_status = S_OK;
  try {
    instance.scanner.start(run);
    instance.actions.start(run);
    if (!instance.parser) instance.parser.emplace(instance.scanner, instance.actions);
    (void)instance.parser->parse();
    run.unread = instance.scanner.unread();
    if (FAILED(run.read_status)) {
      ReportParseError(run, "The input could not be read to its end", instance.scanner.line());
    }
  } catch (const CDecoderException& failure) {
    ReportParseError(run, failure.what(), -1);
  }
}

constexpr int kNoPriority = THREAD_PRIORITY_ERROR_RETURN;

// The priority that a thread waiting for an instance has when it does not wait.
thread_local int t_priority = kNoPriority;

struct WaitingPriority {
  explicit WaitingPriority(int priority) : outer(std::exchange(t_priority, priority)) {}
  ~WaitingPriority() { t_priority = outer; }
  int outer;
};

// The ten instances and their mutexes, which live as long as the library is loaded.
class ParserPool {
 public:
  ParserPool() {
    for (Entry& entry : entries_) entry.mutex = CreateMutexW(nullptr, FALSE, nullptr);
  }
  ~ParserPool() {
    for (Entry& entry : entries_) CloseHandle(entry.mutex);
  }
  ParserPool(const ParserPool&) = delete;
  ParserPool& operator=(const ParserPool&) = delete;

  // Runs on the first free instance. A caller that finds none lowers its thread's priority and
  // keeps trying; it has its priority back when it runs.
  void run(ParseRun& run) {
    Entry& entry = acquire();
    const Release release{entry.mutex};
    run_instance(entry.instance, run);
  }

 private:
  struct Entry {
    HANDLE mutex = nullptr;
    ParserInstance instance;
  };
  struct Release {
    HANDLE mutex;
    ~Release() { ReleaseMutex(mutex); }
  };

  Entry& acquire() {
    const HANDLE thread = GetCurrentThread();
    // A message handler may load while the load it interrupts waits with a lowered priority.
    const int outer = t_priority;
    const int priority = outer != kNoPriority ? outer : GetThreadPriority(thread);
    const WaitingPriority waiting(priority);
    for (;;) {
      for (Entry& entry : entries_) {
        if (!WaitOrPump(entry.mutex, 0, true)) continue;
        if (GetThreadPriority(thread) != priority) SetThreadPriority(thread, priority);
        return entry;
      }
      if (GetThreadPriority(thread) == priority) {
        SetThreadPriority(thread, THREAD_PRIORITY_LOWEST);
      }
    }
  }

  std::array<Entry, kInstances> entries_;
};

ParserPool g_pool;

// The request to end the thread's message loop, which a wait takes out of the queue and which is
// for the host's own loop: posted again when the wait is over.
class PendingQuit {
 public:
  PendingQuit() = default;
  PendingQuit(const PendingQuit&) = delete;
  PendingQuit& operator=(const PendingQuit&) = delete;
  ~PendingQuit() {
    if (posted_) PostQuitMessage(exit_code_);
  }
  bool keeps(const MSG& message) {
    if (message.message != WM_QUIT) return false;
    posted_ = true;
    exit_code_ = static_cast<int>(message.wParam);
    return true;
  }

 private:
  bool posted_ = false;
  int exit_code_ = 0;
};

}  // namespace

HRESULT DispatchParse(ParseRun& run, ISequentialStream* stream) {
  if (stream == nullptr) return E_INVALIDARG;
  const ComPtr<ISequentialStream> input(stream);
  run.input = stream;
  if (t_running > 0) {
    ParserInstance spare;
    run_instance(spare, run);
  } else {
    g_pool.run(run);
  }
  run.input = nullptr;
  return run.failed ? E_ABORT : S_OK;
}

namespace {

// Moves where the next Read starts, and not where a memory stream's next Write does.
bool move_back(IStream& stream, std::size_t count) {
  if (count == 0) return true;
  if (const auto memory = platform::query<CISSHelper>(&stream)) {
    memory->give_back(static_cast<ULONG>(count));
    return true;
  }
  return SUCCEEDED(stream.Seek({-static_cast<LONGLONG>(count)}, STREAM_SEEK_CUR, nullptr));
}

}  // namespace

void give_back_unread(const ParseRun& run, IStream& stream) {
  constexpr std::size_t kMostReadAgain = std::size_t{1} << 20;
  std::size_t unread = run.unread;
  std::size_t back = 0;
  for (const InputBlock& block : {run.last_block, run.block_before}) {
    if (unread == 0) break;
    if (unread >= block.kept || block.raw == block.kept) {
      const std::size_t all = std::min(unread, block.kept);
      back += unread >= block.kept ? block.raw : all;
      unread -= all;
      continue;
    }
    // Normalising took bytes out of a block that is partly used: see where they were.
    if (block.raw > kMostReadAgain) return;
    std::vector<char> bytes(block.raw);
    if (!move_back(stream, back + block.raw)) return;
    std::size_t have = 0;
    ULONG got = 0;
    while (have < bytes.size() &&
           SUCCEEDED(
               stream.Read(bytes.data() + have, static_cast<ULONG>(bytes.size() - have), &got)) &&
           got > 0) {
      have += got;
    }
    const std::size_t used =
        length_before_normalising(bytes.data(), have, block.full, block.kept - unread);
    static_cast<void>(move_back(stream, have - used));
    return;
  }
  static_cast<void>(move_back(stream, back));
}

bool parse_usual_field(std::string_view name, std::string_view text, HeaderValue& value) {
  if (name == kPseudoContentType) return read_usual_type(text, value);
  if (name == kPseudoDisposition) return read_usual_disposition(text, value);
  if (name == kPseudoAddress) return read_usual_addresses(text, value);
  for (const FieldInfo& field : all_fields()) {
    if (field.name != name) continue;
    if (field.rule == FieldRule::AddressList) return read_usual_addresses(text, value);
    return field.rule == FieldRule::Date && read_usual_date(text, value);
  }
  return false;
}

HRESULT parse_field(std::string_view name, std::string_view text, HeaderValue& value) {
  if (parse_usual_field(name, text, value)) return S_OK;
  return parse_field_by_grammar(name, text, value);
}

HRESULT parse_field_by_grammar(std::string_view name, std::string_view text, HeaderValue& value) {
  const std::string_view separator = name == kPseudoUuencode ? "\r\n" : ": ";
  CISSHelper input;
  input.reserve(static_cast<ULONG>(name.size() + text.size() + 8));
  for (const std::string_view piece : {name, separator, text, kEndOfData}) {
    input.write(piece);
  }
  HeaderValue parsed;
  ParseRun run{.target = &parsed, .full_load = false, .defer_mime = false};
  const HRESULT status = DispatchParse(run, &input);
  if (SUCCEEDED(status)) value = std::move(parsed);
  return status;
}

HRESULT parse_received(std::string_view text, HeaderValue& parameters, HeaderValue& date) {
  HeaderValue record;
  const HRESULT status = parse_field("Received", text, record);
  if (FAILED(status)) return status;
  parameters = record[0].is(ValueKind::AddressMap) ? record[0] : HeaderValue::map();
  date = record[1];
  return S_OK;
}

bool WaitOrPump(HANDLE handle, DWORD milliseconds, bool pump) {
  if (handle == nullptr) return false;
  PendingQuit quit;
  for (;;) {
    const DWORD result =
        pump ? MsgWaitForMultipleObjects(1, &handle, FALSE, milliseconds, QS_ALLINPUT)
             : WaitForSingleObject(handle, milliseconds);
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED_0) return true;
    if (result == WAIT_TIMEOUT || result == WAIT_FAILED) return false;
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (quit.keeps(message)) continue;
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
}

void ReportParseError(ParseRun& run, const std::string& hint, long line) {
  run.failed = true;
  if (!run.full_load) return;
  if (run.input != nullptr && run.raw_copy != nullptr) run.raw_copy->append_from(*run.input);
  set_error_text(to_wide(hint + " in Line " + std::to_string(line)));
}

}  // namespace tallowbrook
