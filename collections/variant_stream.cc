#include "collections/variant_stream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string>

#include "platform/automation/dispatch.h"
#include "platform/com/activation.h"

namespace tallowbrook {

namespace {

static_assert(std::endian::native == std::endian::little, "the stream format is little-endian");

constexpr int kMostNested = 64;
constexpr DWORD kAnyServer = CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER;

// Objects may load and save further objects in the same stream: counts how deep this thread stands
// in them, and keeps the stream in which one of them lost its place.
class Nesting {
 public:
  Nesting() {
    if (depth_++ == 0) lost_in_ = nullptr;
  }
  ~Nesting() { --depth_; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
  [[nodiscard]] static bool too_deep() { return depth_ > kMostNested; }
  [[nodiscard]] static bool lost_in(const IStream& stream) { return lost_in_ == &stream; }
  static void lose_place(const IStream& stream) { lost_in_ = &stream; }

 private:
  static inline thread_local int depth_ = 0;
  static inline thread_local const IStream* lost_in_ = nullptr;
};

thread_local const CLSID* t_created_to_load = nullptr;

// The size of a value that is stored as it stands in the VARIANT; 0 for any other type.
ULONG plain_size(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return 8;
    default:
      return 0;
  }
}

HRESULT write_text(IStream& stream, std::u16string_view text) {
  constexpr OLECHAR kEnd = 0;
  const auto bytes = static_cast<ULONG>(text.size() * sizeof(OLECHAR));
  const auto length = static_cast<ULONG>(bytes + sizeof(kEnd));
  HRESULT status = write_exactly(stream, &length, sizeof(length));
  if (SUCCEEDED(status)) status = write_exactly(stream, text.data(), bytes);
  if (SUCCEEDED(status)) status = write_exactly(stream, &kEnd, sizeof(kEnd));
  return status;
}

HRESULT read_text(IStream& stream, platform::Bstr& text) {
  ULONG left = 0;
  HRESULT status = read_exactly(stream, &left, sizeof(left));
  std::u16string units;
  std::array<OLECHAR, 2048> block;
  while (SUCCEEDED(status) && left >= sizeof(OLECHAR)) {
    const auto count = static_cast<ULONG>(std::min(left / sizeof(OLECHAR), block.size()));
    const auto bytes = static_cast<ULONG>(count * sizeof(OLECHAR));
    status = read_exactly(stream, block.data(), bytes);
    if (SUCCEEDED(status)) units.append(block.data(), count);
    left -= bytes;
  }
  if (SUCCEEDED(status) && left > 0) status = read_exactly(stream, block.data(), left);
  if (FAILED(status)) return status;
  if (!units.empty() && units.back() == 0) units.pop_back();
  text = platform::Bstr(units);
  return S_OK;
}

HRESULT write_as_text(IStream& stream, const VARIANT& value) {
  if (value.vt == VT_BSTR) return write_text(stream, platform::view_of(value.bstrVal));
  platform::Variant text;
  if (FAILED(VariantChangeType(&text, &value, 0, VT_BSTR))) text.clear();
  return write_text(stream, text.text());
}

HRESULT read_from_text(IStream& stream, VARTYPE type, platform::Variant& value) {
  platform::Bstr text;
  const HRESULT status = read_text(stream, text);
  if (FAILED(status)) return status;
  if (type == VT_EMPTY || type == VT_NULL) {
    value.vt = type;
    return S_OK;
  }
  platform::Variant read;
  read.vt = VT_BSTR;
  read.bstrVal = text.detach();
  if (type != VT_BSTR) {
    const HRESULT changed = VariantChangeType(&read, &read, 0, type);
    if (FAILED(changed)) return changed;
  }
  value = std::move(read);
  return S_OK;
}

// An object of which a stream can hold the class and the data, through the one interface or the
// other.
struct Writable {
  CLSID class_id{};
  platform::ComPtr<IPersistStream> stream;
  platform::ComPtr<IPersistStreamInit> init;
  platform::ComPtr<IStoredItem> item;

  HRESULT save(IStream& target) const {
    if (item) return item->save_item(&target);
    return stream ? stream->Save(&target, FALSE) : init->Save(&target, FALSE);
  }
};

bool find_writable(IUnknown* object, Writable& found) {
  found.class_id = GUID_NULL;
  found.item = platform::query<IStoredItem>(object);
  if (found.item) return SUCCEEDED(found.item->item_class(&found.class_id));
  found.stream = platform::query<IPersistStream>(object);
  if (!found.stream) found.init = platform::query<IPersistStreamInit>(object);
  IPersist* const persist =
      found.stream ? static_cast<IPersist*>(found.stream.get()) : found.init.get();
  return persist != nullptr && SUCCEEDED(persist->GetClassID(&found.class_id)) &&
         !(found.class_id == GUID_NULL);
}

// A class id and an object of that class, not loaded yet; S_FALSE and null for a null class id.
HRESULT create_object(IStream& stream, platform::ComPtr<IUnknown>& object) {
  CLSID class_id{};
  const HRESULT status = read_exactly(stream, &class_id, sizeof(class_id));
  if (FAILED(status)) return status;
  if (class_id == GUID_NULL) return S_FALSE;
  t_created_to_load = &class_id;
  const HRESULT created =
      CoCreateInstance(class_id, nullptr, kAnyServer, IUnknown::kIid, object.out_void());
  t_created_to_load = nullptr;
  return created;
}

HRESULT load_through_persist(IStream& stream, IUnknown& object) {
  if (const auto persist = platform::query<IPersistStream>(&object)) return persist->Load(&stream);
  if (const auto init = platform::query<IPersistStreamInit>(&object)) return init->Load(&stream);
  return E_NOINTERFACE;
}

HRESULT read_object_as(IStream& stream, VARTYPE type, platform::Variant& value, bool* lost) {
  platform::ComPtr<IUnknown> object;
  const HRESULT status = read_object(stream, object, FailedLoad::kDrops, lost);
  if (FAILED(status)) return status;
  if (type == VT_UNKNOWN) {
    value.punkVal = object.detach();
  } else {
    auto dispatch = object.query<IDispatch>();
    if (object && !dispatch) return E_NOINTERFACE;
    value.pdispVal = dispatch.detach();
  }
  value.vt = type;
  return S_OK;
}

}  // namespace

HRESULT read_exactly(IStream& stream, void* target, ULONG size) {
  char* at = static_cast<char*>(target);
  while (size > 0) {
    ULONG got = 0;
    const HRESULT status = stream.Read(at, size, &got);
    if (FAILED(status)) return status;
    if (got == 0 || got > size) return E_FAIL;
    at += got;
    size -= got;
  }
  return S_OK;
}

HRESULT write_exactly(IStream& stream, const void* source, ULONG size) {
  if (size == 0) return S_OK;
  ULONG written = 0;
  const HRESULT status = stream.Write(source, size, &written);
  if (FAILED(status)) return status;
  return written < size ? E_FAIL : S_OK;
}

bool created_to_load(REFCLSID clsid) {
  return t_created_to_load != nullptr && *t_created_to_load == clsid;
}

void lose_place(IStream& stream) { Nesting::lose_place(stream); }

bool can_write_object(IUnknown* object) {
  Writable found;
  return find_writable(object, found);
}

HRESULT write_object(IStream& stream, IUnknown* object) {
  const Nesting nesting;
  Writable found;
  if (Nesting::too_deep() || !find_writable(object, found)) {
    return write_exactly(stream, &GUID_NULL, sizeof(GUID_NULL));
  }
  const HRESULT status = write_exactly(stream, &found.class_id, sizeof(found.class_id));
  return FAILED(status) ? status : found.save(stream);
}

HRESULT read_object(IStream& stream, platform::ComPtr<IUnknown>& object, FailedLoad failed_load,
                    bool* lost) {
  object.reset();
  if (lost != nullptr) *lost = false;
  const Nesting nesting;
  platform::ComPtr<IUnknown> created;
  const HRESULT status = Nesting::too_deep() ? E_FAIL : create_object(stream, created);
  if (lost != nullptr) *lost = FAILED(status);
  if (status != S_OK) return status;
  const HRESULT loaded = load_through_persist(stream, *created);
  if (lost != nullptr) *lost = Nesting::lost_in(stream);
  if (FAILED(loaded) && failed_load == FailedLoad::kDrops) return loaded;
  object = std::move(created);
  return S_OK;
}

HRESULT WriteVariant(IStream& stream, const VARIANT& value) {
  HRESULT status = write_exactly(stream, &value.vt, sizeof(value.vt));
  if (FAILED(status)) return status;
  if (const ULONG size = plain_size(value.vt)) return write_exactly(stream, &value.llVal, size);
  if (value.vt == VT_UNKNOWN) return write_object(stream, value.punkVal);
  if (value.vt == VT_DISPATCH) return write_object(stream, value.pdispVal);
  return write_as_text(stream, value);
}

HRESULT ReadVariant(IStream& stream, platform::Variant& value, bool* lost) {
  value.clear();
  if (lost != nullptr) *lost = false;
  VARTYPE type = VT_EMPTY;
  const HRESULT status = read_exactly(stream, &type, sizeof(type));
  if (FAILED(status)) return status;
  if (type == VT_UNKNOWN || type == VT_DISPATCH) {
    return read_object_as(stream, type, value, lost);
  }
  const ULONG size = plain_size(type);
  if (size == 0) return read_from_text(stream, type, value);
  LONGLONG raw = 0;
  const HRESULT got = read_exactly(stream, &raw, size);
  if (FAILED(got)) return got;
  value.llVal = raw;
  value.vt = type;
  return S_OK;
}

}  // namespace tallowbrook
