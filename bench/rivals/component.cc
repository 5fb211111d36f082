// The component itself, as a C++ host uses it: class object, interfaces, streams of the host's own.
#include <iterator>
#include <stdexcept>

#include "bench/rivals/candidate.h"
#include "platform/com/activation.h"
#include "platform/kernel/code_page.h"
#include "streams/sequential_stream.h"
#include "tallowbrook/tallowbrook.h"

namespace tallowbrook::bench {
namespace {

using platform::Bstr;
using platform::ComPtr;
using platform::Variant;

void require(HRESULT status, const char* what) {
  if (FAILED(status)) throw std::runtime_error(std::string("the component: ") + what);
}

// A stream over memory that the host has: it lives on the host's stack.
class MemoryInput : public SequentialStream {
 public:
  explicit MemoryInput(std::string_view bytes) : bytes_(bytes) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    *object = nullptr;
    if (iid != IUnknown::kIid && iid != ISequentialStream::kIid && iid != IStream::kIid) {
      return E_NOINTERFACE;
    }
    *object = static_cast<IStream*>(this);
    return S_OK;
  }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
    const std::string_view block = bytes_.substr(position_, cb);
    block.copy(static_cast<char*>(pv), block.size());
    position_ += block.size();
    if (read != nullptr) *read = static_cast<ULONG>(block.size());
    return block.size() == cb ? S_OK : S_FALSE;
  }
  HRESULT Write(const void*, ULONG, ULONG*) override { return E_ACCESSDENIED; }
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* now) override {
    const LONGLONG base = origin == STREAM_SEEK_SET   ? 0
                          : origin == STREAM_SEEK_CUR ? static_cast<LONGLONG>(position_)
                                                      : static_cast<LONGLONG>(bytes_.size());
    const LONGLONG target = base + move.QuadPart;
    if (target < 0 || target > static_cast<LONGLONG>(bytes_.size())) return E_INVALIDARG;
    position_ = static_cast<std::size_t>(target);
    if (now != nullptr) now->QuadPart = position_;
    return S_OK;
  }

 private:
  std::string_view bytes_;
  std::size_t position_ = 0;
};

class ReadingOutput final : public MemoryInput {
 public:
  explicit ReadingOutput(Reading& reading) : MemoryInput({}), reading_(reading) {}
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    reading_.add_content({static_cast<const char*>(pv), cb});
    if (written != nullptr) *written = cb;
    return S_OK;
  }

 private:
  Reading& reading_;
};

class StringOutput final : public MemoryInput {
 public:
  explicit StringOutput(std::string& text) : MemoryInput({}), text_(text) {}
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    text_.append(static_cast<const char*>(pv), cb);
    if (written != nullptr) *written = cb;
    return S_OK;
  }

 private:
  std::string& text_;
};

void read_address(const Variant& item) {
  const auto address = platform::query<IMailAddress>(item.pdispVal);
  Bstr name;
  Bstr spec;
  require(address->get_Name(name.out()), "a name");
  require(address->get_Address(spec.out()), "an address");
}

std::uint64_t read_addresses(const Variant& list) {
  if (list.vt != VT_DISPATCH || list.pdispVal == nullptr) return 0;
  ComPtr<IUnknown> items;
  require(platform::query<ICollection>(list.pdispVal)->get__NewEnum(items.out()), "addresses");
  const auto enumerator = items.query<IEnumVARIANT>();
  std::uint64_t count = 0;
  ULONG fetched = 0;
  do {
    Variant some[32];
    require(enumerator->Next(std::size(some), some, &fetched), "an address");
    for (ULONG i = 0; i < fetched; ++i) read_address(some[i]);
    count += fetched;
  } while (fetched > 0);
  return count;
}

// Text in UTF-8 or Latin-1.
std::string narrow(std::u16string_view text, bool utf8) {
  constexpr UINT kLatin1 = 28591;
  std::string bytes(text.size() * 3, '\0');
  const int size =
      WideCharToMultiByte(utf8 ? CP_UTF8 : kLatin1, 0, text.data(), static_cast<int>(text.size()),
                          bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

// The leaf's own bytes. Text with a charset is handed out as UTF-16; without one it is as it came,
// and inside the message that is read a put costs nothing. A message inside would be written back
// into the one around it, so there the text is taken and narrowed again.
void read_leaf(IMimeBody& part, bool inside, Reading& reading) {
  ++reading.leaves;
  Variant charset;
  require(part.get_Charset(&charset), "a charset");
  const bool has_charset = !charset.text().empty();
  if (has_charset && inside) {
    Bstr text;
    require(part.get_Value(text.out()), "a text");
    reading.add_content(narrow(text.view(), charset.text() == u"utf-8"));
    return;
  }
  if (has_charset) require(part.put_Charset(Variant(u"")), "a charset put");
  ReadingOutput target(reading);
  VARIANT_BOOL done = VARIANT_FALSE;
  require(part.Export(&target, &done), "a content");
}

class Component final : public Candidate {
 public:
  explicit Component(const char* library) {
    HMODULE module = nullptr;
    require(CoLoadComponent(library, &module), library);
    require(CoGetClassObject(CLSID_MimeDecoder, CLSCTX_INPROC_SERVER, nullptr, IClassFactory::kIid,
                             factory_.out_void()),
            "no class object");
  }

  std::string name() const override { return "tallowbrook"; }

  void load(std::string_view message) override { (void)loaded(message); }

  void read(std::string_view bytes, Reading& reading) override {
    const auto message = loaded(bytes);
    Variant subject;
    Variant date;
    Variant from;
    Variant to;
    require(message->get_Subject(&subject), "Subject");
    require(message->get_Date(&date), "Date");
    require(message->get_From(&from), "From");
    require(message->get_To(&to), "To");
    (void)read_addresses(from);
    reading.to += read_addresses(to);
    read_parts(*message, reading);
  }

  std::size_t rewrite(std::string_view bytes) override {
    const auto message = loaded(bytes);
    require(message->put_Subject(Variant(u"Another subject, as plain as they come")), "Subject");
    std::string text;
    text.reserve(bytes.size() + 4096);
    StringOutput target(text);
    require(message.query<IPersistStream>()->Save(&target, FALSE), "Save");
    return text.size();
  }

 private:
  ComPtr<IMimeDecoder> loaded(std::string_view bytes) const {
    ComPtr<IMimeDecoder> message;
    require(factory_->CreateInstance(nullptr, IMimeDecoder::kIid, message.out_void()), "no object");
    MemoryInput input(bytes);
    require(message.query<IPersistStream>()->Load(&input), "a message does not load");
    return message;
  }

  static void read_parts(IMimeDecoder& message, Reading& reading) {
    struct Waiting {
      ComPtr<IMimeBody> part;
      bool inside;  // a message inside the one that is read
    };
    Variant body;
    require(message.get_Body(&body), "Body");
    std::vector<Waiting> waiting{{platform::query<IMimeBody>(body.pdispVal), false}};
    while (!waiting.empty()) {
      const Waiting next = std::move(waiting.back());
      waiting.pop_back();
      LONG count = 0;
      require(next.part->get_Count(&count), "Count");
      if (count == 0) {
        read_leaf(*next.part, next.inside, reading);
        continue;
      }
      ComPtr<IDispatch> embedded;
      require(next.part->get_EmbeddedMessage(embedded.out()), "EmbeddedMessage");
      for (LONG i = count; i-- > 0;) {
        ComPtr<IDispatch> child;
        require(next.part->get_Item(i, child.out()), "Item");
        waiting.push_back({child.query<IMimeBody>(), next.inside || embedded});
      }
    }
  }

  ComPtr<IClassFactory> factory_;
};

}  // namespace

std::unique_ptr<Candidate> make_component(const char* library) {
  return std::make_unique<Component>(library);
}

}  // namespace tallowbrook::bench
