// What a message is in a host explorer's tree: the side of it that hosts of that kind look at.
//
// The room that knows explorers makes one for a message that asks for it; the message hands the
// host's calls on. Calls may run the host's code: the caller keeps the message alive meanwhile.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/automation/dispatch.h"
#include "platform/shell/context_menu.h"
#include "platform/storage/storage.h"
#include "tallowbrook/mime_decoder.h"

namespace tallowbrook {

enum class ImageListKind { kSmall, kLarge };

class ExplorerNode {
 public:
  ExplorerNode() = default;
  virtual ~ExplorerNode() = default;
  ExplorerNode(const ExplorerNode&) = delete;
  ExplorerNode& operator=(const ExplorerNode&) = delete;

  // --- the node; these throw std::bad_alloc ---
  [[nodiscard]] virtual LONG child_count() = 0;
  [[nodiscard]] virtual std::u16string display_name() = 0;
  [[nodiscard]] virtual std::string type_identifier() = 0;
  // The child with a name or type (a string) or at a position (anything else); empty when there is
  // none.
  [[nodiscard]] virtual platform::Variant item(const VARIANT& index) = 0;

  // --- out-parameters are not null and hold null ---
  // A new stream with the image list of that kind; E_FAIL when it cannot be made.
  virtual HRESULT image_list(ImageListKind kind, IUnknown** stream) = 0;
  // The host's collection of option definitions, always the same; E_POINTER when the host's class
  // cannot be created.
  virtual HRESULT options(IDispatch** options) = 0;
  // A new collection of the host's: the values that an option has, and those that it may have.
  virtual HRESULT current_values(std::u16string_view option, IDispatch** values) = 0;
  virtual HRESULT choice_values(std::u16string_view option, IDispatch** values) = 0;

  // --- the members of IPersistOptions ---
  virtual HRESULT load_options(IStorage& storage) = 0;
  virtual HRESULT save_options(IStorage& storage) = 0;

  // --- the members of IContextMenu ---
  virtual HRESULT query_context_menu(HMENU menu, UINT index, UINT first, UINT last) = 0;
  virtual HRESULT invoke_command(const CMINVOKECOMMANDINFO* info) = 0;
  virtual HRESULT command_string(std::uintptr_t command, UINT kind, char* buffer, UINT size) = 0;
};

// Defined by the room of the explorer's side. The message outlives its node. Throws std::bad_alloc.
[[nodiscard]] std::unique_ptr<ExplorerNode> make_explorer_node(IMimeDecoder& message);

}  // namespace tallowbrook
