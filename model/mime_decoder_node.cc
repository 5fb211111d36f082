// The message as a node in a host explorer's tree. What hosts of that kind ask for goes to the node
// behind this face, which is made when it is first needed.
#include <string>

#include "core/guard.h"
#include "core/text.h"
#include "model/mime_decoder.h"
#include "platform/kernel/debug_output.h"

namespace tallowbrook {

using platform::Bstr;
using platform::Variant;

ExplorerNode& CMimeDecoder::node() {
  if (ending_) throw StatusError(E_UNEXPECTED);
  if (node_ == nullptr) node_ = make_explorer_node(*this);
  return *node_;
}

// Clears the out-parameter and has `ask(node, out)` fill it; the message lives meanwhile.
template <class Out, class Ask>
HRESULT CMimeDecoder::ask_node(Out* out, Ask ask) {
  if (out == nullptr) return E_POINTER;
  *out = Out();
  return guarded([&] {
    const auto held = self();
    return ask(node(), out);
  });
}

HRESULT CMimeDecoder::get_Item(VARIANT index, VARIANT* child) {
  return ask_node(child, [&](ExplorerNode& node, VARIANT* out) {
    node.item(index).detach_to(out);
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_Count(LONG* count) {
  return ask_node(count, [](ExplorerNode& node, LONG* out) {
    *out = node.child_count();
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_HasChildren(LONG* has_children) {
  return ask_node(has_children, [](ExplorerNode& node, LONG* out) {
    *out = node.child_count() > 0 ? 1 : 0;
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_CanSeeEnd(LONG* can_see) {
  if (can_see == nullptr) return E_POINTER;
  *can_see = 1;
  return S_OK;
}

HRESULT CMimeDecoder::get_IsSameSiblingImage(LONG* is_same) {
  if (is_same == nullptr) return E_POINTER;
  *is_same = 0;
  return S_OK;
}

HRESULT CMimeDecoder::get_Image(VARIANT* image) {
  if (image == nullptr) return E_POINTER;
  Variant(static_cast<IDispatch*>(this)).detach_to(image);
  return S_OK;
}

HRESULT CMimeDecoder::get_SmallImageList(IUnknown** stream) {
  return ask_node(stream, [](ExplorerNode& node, IUnknown** out) {
    return node.image_list(ImageListKind::kSmall, out);
  });
}

HRESULT CMimeDecoder::get_LargeImageList(IUnknown** stream) {
  return ask_node(stream, [](ExplorerNode& node, IUnknown** out) {
    return node.image_list(ImageListKind::kLarge, out);
  });
}

HRESULT CMimeDecoder::get_ID(BSTR* id) {
  return ask_node(id, [](ExplorerNode& node, BSTR* out) {
    *out = to_bstr(node.type_identifier()).detach();
    return S_OK;
  });
}

HRESULT CMimeDecoder::get_Name(BSTR* name) {
  return ask_node(name, [](ExplorerNode& node, BSTR* out) {
    *out = Bstr(node.display_name()).detach();
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

// --- options -------------------------------------------------------------------------------------

HRESULT CMimeDecoder::get_Options(IDispatch** options) {
  return ask_node(options, [](ExplorerNode& node, IDispatch** out) { return node.options(out); });
}

HRESULT CMimeDecoder::get_CurrentValues(BSTR id, VARIANT_BOOL, IDispatch** values) {
  return ask_node(values, [&](ExplorerNode& node, IDispatch** out) {
    return node.current_values(platform::view_of(id), out);
  });
}

HRESULT CMimeDecoder::get_ChoiceValues(BSTR id, VARIANT_BOOL, IDispatch** values) {
  return ask_node(values, [&](ExplorerNode& node, IDispatch** out) {
    return node.choice_values(platform::view_of(id), out);
  });
}

HRESULT CMimeDecoder::LoadOptions(IStorage* storage) {
  if (storage == nullptr) return E_POINTER;
  return guarded([&] {
    const auto held = self();
    return node().load_options(*storage);
  });
}

HRESULT CMimeDecoder::SaveOptions(IStorage* storage) {
  if (storage == nullptr) return E_POINTER;
  return guarded([&] {
    const auto held = self();
    return node().save_options(*storage);
  });
}

// --- context menu --------------------------------------------------------------------------------

HRESULT CMimeDecoder::QueryContextMenu(HMENU menu, UINT index, UINT first, UINT last, UINT) {
  return guarded([&] { return node().query_context_menu(menu, index, first, last); });
}

HRESULT CMimeDecoder::InvokeCommand(CMINVOKECOMMANDINFO* info) {
  return guarded([&] {
    const auto held = self();
    return node().invoke_command(info);
  });
}

HRESULT CMimeDecoder::GetCommandString(std::uintptr_t command, UINT kind, UINT*, char* buffer,
                                       UINT size) {
  return guarded([&] { return node().command_string(command, kind, buffer, size); });
}

}  // namespace tallowbrook
