// Late-bound calls with names, types and argument counts from the input, on every class that can be
// created and on whatever the calls give. Members that reach files or the network are left out.
#include <algorithm>

#include "fuzz/fuzz.h"

namespace {

using namespace tallowbrook;

using Creator = HRESULT (*)(REFIID, void**);
constexpr Creator kCreators[] = {
    create_mime_decoder,  create_mail_address,     create_collection,
    create_blob,          create_mime_body,        create_content_disposition,
    create_parameter_map, create_field_collection, create_received_collection,
    create_received,      create_content_type,     create_dialup_collection};

constexpr std::u16string_view kLeftOut[] = {u"LoadFromFile", u"SaveToFile", u"ExportAsFile",
                                            u"ImportFromFile", u"DebugPrint"};

platform::Variant argument(fuzz::Input& input,
                           const std::vector<platform::ComPtr<IDispatch>>& objects) {
  switch (input.number(8)) {
    case 0:
      return platform::Variant(static_cast<LONG>(input.number(256)) - 2);
    case 1:
      return platform::Variant(to_wide(input.text()));
    case 2:
      return platform::Variant(objects[input.number(objects.size())].get());
    case 3: {
      platform::Variant date;
      date.vt = VT_DATE;
      date.date = static_cast<double>(input.number(256)) * 300 - 20000.5;
      return date;
    }
    case 4: {
      platform::Variant truth;
      truth.vt = VT_BOOL;
      truth.boolVal = input.number(2) == 0 ? VARIANT_FALSE : VARIANT_TRUE;
      return truth;
    }
    case 5: {
      platform::Variant small;
      small.vt = VT_I2;
      small.iVal = static_cast<SHORT>(input.number(256));
      return small;
    }
    case 6: {
      platform::Variant nothing;
      nothing.vt = VT_NULL;
      return nothing;
    }
    default:
      return {};
  }
}

// The name of a member of the object, or of none.
std::u16string member(fuzz::Input& input, IDispatch* object) {
  platform::ComPtr<ITypeInfo> info;
  const std::size_t index = input.number(64);
  if (FAILED(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.out()))) return to_wide(input.text());
  FUNCDESC* function = nullptr;
  if (FAILED(info->GetFuncDesc(static_cast<UINT>(index), &function))) return to_wide(input.text());
  platform::Bstr name;
  UINT count = 0;
  (void)info->GetNames(function->memid, name.out(), 1, &count);
  info->ReleaseFuncDesc(function);
  return std::u16string(name.view());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  std::vector<platform::ComPtr<IDispatch>> objects;
  for (const Creator create : kCreators) {
    platform::ComPtr<IDispatch> object;
    if (SUCCEEDED(create(IDispatch::kIid, object.out_void()))) objects.push_back(object);
  }
  for (int calls = 0; calls < 60 && !input.empty(); ++calls) {
    const platform::ComPtr<IDispatch> object = objects[input.number(objects.size())];
    const std::u16string name = member(input, object.get());
    if (std::find(std::begin(kLeftOut), std::end(kLeftOut), name) != std::end(kLeftOut)) continue;
    static constexpr WORD kFlags[] = {DISPATCH_METHOD, DISPATCH_PROPERTYGET, DISPATCH_PROPERTYPUT,
                                      DISPATCH_METHOD | DISPATCH_PROPERTYGET};
    const WORD flags = kFlags[input.number(std::size(kFlags))];
    std::vector<platform::Variant> arguments(input.number(5));
    for (platform::Variant& each : arguments) each = argument(input, objects);
    const auto outcome =
        platform::invoke_by_name(object.get(), name, flags, arguments.data(), arguments.size());
    fuzz::require(SUCCEEDED(outcome.status) || outcome.value.vt == VT_EMPTY,
                  "a call that failed left a result");
    if (outcome.value.vt == VT_DISPATCH && outcome.value.pdispVal != nullptr) {
      if (objects.size() < 40) objects.emplace_back(outcome.value.pdispVal);
    }
    if (input.number(8) == 7 && objects.size() > 12) {
      objects.erase(objects.begin() + static_cast<std::ptrdiff_t>(input.number(objects.size())));
    }
  }
  return 0;
}
