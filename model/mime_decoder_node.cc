// The message as a node without children in a host explorer's tree.
#include <string>

#include "core/guard.h"
#include "core/resources.h"
#include "core/text.h"
#include "model/mime_decoder.h"
#include "platform/kernel/debug_output.h"

namespace tallowbrook {

using platform::Bstr;
using platform::Variant;

namespace {

constexpr std::u16string_view kNodeType = u"email";

HRESULT yield_number(LONG* target, LONG number) {
  if (target == nullptr) return E_POINTER;
  *target = number;
  return S_OK;
}

// Clears an out-parameter of a member that is not there yet.
template <class Interface>
HRESULT not_built(Interface** target) {
  if (target == nullptr) return E_POINTER;
  *target = nullptr;
  return E_NOTIMPL;
}

}  // namespace

HRESULT CMimeDecoder::get_Item(VARIANT, VARIANT* child) {
  if (child == nullptr) return E_POINTER;
  VariantInit(child);
  return S_OK;
}

HRESULT CMimeDecoder::get_Count(LONG* count) { return yield_number(count, 0); }

HRESULT CMimeDecoder::get_HasChildren(LONG* has_children) { return yield_number(has_children, 0); }

HRESULT CMimeDecoder::get_CanSeeEnd(LONG* can_see) { return yield_number(can_see, 1); }

HRESULT CMimeDecoder::get_IsSameSiblingImage(LONG* is_same) { return yield_number(is_same, 0); }

HRESULT CMimeDecoder::get_Image(VARIANT* image) {
  if (image == nullptr) return E_POINTER;
  Variant(static_cast<IDispatch*>(this)).detach_to(image);
  return S_OK;
}

HRESULT CMimeDecoder::get_ID(BSTR* id) {
  if (id == nullptr) return E_POINTER;
  *id = nullptr;
  return guarded([&] {
    *id = Bstr(kNodeType).detach();
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_Name(BSTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  return guarded([&] {
    Variant subject;
    const HRESULT status = get_Subject(&subject);
    if (FAILED(status)) return status;
    *name = subject.text().empty() ? to_bstr(string_resource(kStringNoName)).detach()
                                   : Bstr(subject.text()).detach();
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_CanUpdateName(VARIANT_BOOL* can_update) {
  if (can_update == nullptr) return E_POINTER;
  *can_update = VARIANT_TRUE;
  return S_OK;
}

HRESULT CMimeDecoder::put_UpdateName(BSTR name) {
  return guarded([&] { return put_Subject(Variant(platform::view_of(name))); });
}

HRESULT CMimeDecoder::DebugPrint(BSTR text) {
  return guarded([&] {
    const std::string line = to_ansi(platform::view_of(text)) + "\n";
    OutputDebugStringA(line.c_str());
    return S_OK;
  });
}

// --- members whose work is still to come ---------------------------------------------------------

HRESULT CMimeDecoder::get_SmallImageList(IUnknown** stream) { return not_built(stream); }

HRESULT CMimeDecoder::get_LargeImageList(IUnknown** stream) { return not_built(stream); }

HRESULT CMimeDecoder::get_Options(IDispatch** options) { return not_built(options); }

HRESULT CMimeDecoder::get_CurrentValues(BSTR, VARIANT_BOOL, IDispatch** values) {
  return not_built(values);
}

HRESULT CMimeDecoder::get_ChoiceValues(BSTR, VARIANT_BOOL, IDispatch** values) {
  return not_built(values);
}

HRESULT CMimeDecoder::QueryContextMenu(HMENU, UINT, UINT, UINT, UINT) { return E_NOTIMPL; }

HRESULT CMimeDecoder::InvokeCommand(CMINVOKECOMMANDINFO*) { return E_NOTIMPL; }

HRESULT CMimeDecoder::GetCommandString(std::uintptr_t, UINT, UINT*, char*, UINT) {
  return E_NOTIMPL;
}

}  // namespace tallowbrook
