#include "host/option_supplier.h"

#include "collections/variant_stream.h"
#include "core/guard.h"
#include "core/text.h"
#include "host/host_objects.h"
#include "platform/com/security.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

using platform::ComPtr;
using platform::Variant;

namespace {

// A collection that claims to have more items than it gives is left after so many useless ones in a
// row.
constexpr int kMostUseless = 1000;

// Puts a property of a host's object; one that fails is passed over.
void put(IDispatch& object, std::u16string_view name, const Variant& value) {
  (void)platform::put(&object, name, value);
}

void put_text(IDispatch& object, std::u16string_view name, std::string_view ansi) {
  if (!ansi.empty()) put(object, name, Variant(to_wide(ansi)));
}

HRESULT add(IDispatch& collection, IDispatch& item) {
  return platform::call(&collection, u"Add", Variant(&item)).status;
}

ComPtr<IUnknown> object_in(const Variant& value) {
  const bool is_object = value.vt == VT_UNKNOWN || value.vt == VT_DISPATCH;
  return ComPtr<IUnknown>(is_object ? value.punkVal : nullptr);
}

std::string read_id(IDispatch* object) {
  return to_ansi(platform::get(object, u"ID").value.text());
}

// A definition that cannot be created is passed over.
void add_definition(IDispatch& options, const OptionRow& row) {
  ComPtr<IDispatch> definition;
  if (FAILED(create_host_object(kOptionDefClass, definition))) return;
  const Variant short_name{std::u16string_view(row.short_name)};
  put(*definition, u"ID", short_name);
  put(*definition, u"ShortName", short_name);
  put_text(*definition, u"Name", table_text(row.name));
  put_text(*definition, u"Description", table_text(row.description));
  put(*definition, u"Enabled", Variant::boolean(row.enabled));
  if (row.data_format != nullptr) {
    put(*definition, u"DataFormat", Variant(std::u16string_view(row.data_format)));
  }
  put(*definition, u"Type", Variant(row.type));
  (void)add(options, *definition);
}

// Fills a new value of the host's and adds it.
HRESULT add_value(IDispatch& values, IDispatch& value, std::u16string_view option,
                  const NamedValue& named) {
  const auto stream = CISSHelper::create();
  const HRESULT status = WriteVariant(*stream, named.value);
  if (FAILED(status)) return status;
  stream->rewind();
  put(value, u"ID", Variant(named.id));
  put(value, u"IsValueOfOption", Variant(option));
  put(value, u"XValue", Variant(static_cast<IUnknown*>(stream.get())));
  return add(values, value);
}

void keep_first_failure(HRESULT& first, HRESULT status) {
  if (SUCCEEDED(first)) first = status;
}

}  // namespace

COptionSupplier::~COptionSupplier() {
  attached_ = false;
  subscriptions_.disconnect();
}

// --- option definitions --------------------------------------------------------------------------

HRESULT COptionSupplier::options(IDispatch** options) {
  if (!attached()) return E_UNEXPECTED;
  subscriptions_.drop_released();
  if (options_) return options_.copy_to(options);
  ComPtr<IDispatch> made;
  if (FAILED(create_host_object(kOptionCollectionClass, made))) return E_POINTER;
  if (!options_) {  // or the host asked again while it made the collection
    options_ = made;
    fill_options(*made);
  }
  return options_.copy_to(options);
}

void COptionSupplier::fill_options(IDispatch& options) {
  for (const OptionRow& row : option_table()) {
    if (row.chains()) {
      // The further object adds its own definitions to the collection that it is given.
      if (const auto further = chained_object(row.chain_index)) {
        put(*further, u"Options", Variant(&options));
      }
    } else if (row.listed) {
      add_definition(options, row);
    }
  }
}

// --- values --------------------------------------------------------------------------------------

COptionSupplier::Filled COptionSupplier::fill_values(IDispatch& values, std::u16string_view option,
                                                     ValueSource source) {
  Filled first;
  for (ULONG index = 0;; ++index) {
    const auto named = (this->*source)(option, index);
    if (!named) return first;
    ComPtr<IDispatch> value;
    keep_first_failure(first.created, create_host_object(kOptionValueClass, value));
    if (value) keep_first_failure(first.added, add_value(values, *value, option, *named));
  }
}

// A new list of the host's. Values that it does not take are missing in it; that they cannot be
// made at all is a failure.
HRESULT COptionSupplier::new_values(std::u16string_view option, ValueSource source,
                                    ComPtr<IDispatch>& values) {
  if (!attached()) return E_UNEXPECTED;
  subscriptions_.drop_released();
  const HRESULT status = create_host_object(kOptionValueCollectionClass, values);
  return FAILED(status) ? status : fill_values(*values, option, source).created;
}

HRESULT COptionSupplier::current_values(std::u16string_view option, IDispatch** values) {
  ComPtr<IDispatch> made;
  const HRESULT status = new_values(option, &COptionSupplier::current_value, made);
  if (FAILED(status)) return status;
  subscriptions_.connect(*made, *this);
  *values = made.detach();
  return status;
}

HRESULT COptionSupplier::choice_values(std::u16string_view option, IDispatch** values) {
  ComPtr<IDispatch> made;
  const HRESULT status = new_values(option, &COptionSupplier::choice, made);
  if (SUCCEEDED(status)) *values = made.detach();
  return status;
}

std::optional<NamedValue> COptionSupplier::choice(std::u16string_view option, ULONG index) {
  for (const ChoiceRow& row : choice_table()) {
    if (option != row.option || index-- != 0) continue;
    return NamedValue{row.id, Variant(std::u16string_view(row.value))};
  }
  return std::nullopt;
}

// --- changes -------------------------------------------------------------------------------------

void COptionSupplier::on_added(CAccessorEvents&, IDispatch& accessor, const VARIANT&) {
  reread(accessor);
}

void COptionSupplier::on_removed(CAccessorEvents&, IDispatch& accessor, const VARIANT&) {
  reread(accessor);
}

void COptionSupplier::on_changed(CAccessorEvents&, IDispatch& accessor, const VARIANT&) {
  reread(accessor);
}

void COptionSupplier::on_reloaded(CAccessorEvents&, IDispatch& accessor, const VARIANT&) {
  reread(accessor);
}

void COptionSupplier::on_state_changed(CAccessorEvents&, IDispatch&, const VARIANT&, SHORT) {}

HRESULT COptionSupplier::forward(CAccessorEvents&, DISPID, DISPPARAMS*) { return E_FAIL; }

void COptionSupplier::reread(IDispatch& accessor) {
  // So that a host in another process can be called back. In this one there is no proxy to ask.
  (void)CoSetProxyBlanket(&accessor, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                          RPC_C_AUTHN_LEVEL_CONNECT, RPC_C_IMP_LEVEL_IDENTIFY, nullptr, EOAC_NONE);
  auto count = platform::get(&accessor, u"Count");
  if (FAILED(count.status)) return;
  if (FAILED(VariantChangeType(&count.value, &count.value, 0, VT_I4))) return;
  int useless = 0;
  for (LONG index = 0; index < count.value.lVal && useless < kMostUseless; ++index) {
    const auto item = platform::get(&accessor, u"Item", index);
    const auto object = object_in(item.value).query<IDispatch>();
    const bool read = SUCCEEDED(item.status) && object && reread_item(*object);
    useless = read ? 0 : useless + 1;
  }
}

bool COptionSupplier::reread_item(IDispatch& item) {
  const auto option = platform::get(&item, u"IsValueOfOption");
  const auto x_value = platform::get(&item, u"XValue");
  if (FAILED(option.status) || FAILED(x_value.status)) return false;
  const auto stream = object_in(x_value.value).query<IStream>();
  if (!stream || FAILED(stream->Seek(LARGE_INTEGER{0}, STREAM_SEEK_SET, nullptr))) return false;
  Variant value;
  if (FAILED(ReadVariant(*stream, value))) return false;
  write_back(option.value.text(), value);
  return true;
}

// --- children and pictures -----------------------------------------------------------------------

Variant COptionSupplier::item(const VARIANT& index) {
  Variant wanted;
  if (FAILED(VariantCopyInd(&wanted, &index))) return {};
  std::optional<ChildNode> found;
  if (wanted.vt == VT_BSTR) {
    found = find_child(wanted.text());
  } else if (SUCCEEDED(VariantChangeType(&wanted, &wanted, 0, VT_I4))) {
    found = child(wanted.lVal);
  }
  return found && found->object ? Variant(found->object.get()) : Variant();
}

std::optional<ChildNode> COptionSupplier::find_child(std::u16string_view wanted) {
  const std::string name = to_ansi(wanted);
  const LONG count = child_count();
  for (LONG position = 0; position < count; ++position) {
    auto candidate = child(position);
    if (!candidate) continue;
    if (!candidate->foreign) {
      if (equals_ignoring_case(to_ansi(candidate->name), name) || candidate->type == name) {
        return candidate;
      }
    } else if (equals_ignoring_case(read_id(candidate->object.get()), name)) {
      return candidate;
    }
  }
  return std::nullopt;
}

HRESULT COptionSupplier::image_list(ImageListKind kind, IUnknown** stream) {
  return images_.stream(
      kind, [this](int size) { return icon(size); }, stream);
}

}  // namespace tallowbrook
