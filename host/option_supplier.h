// COptionSupplier: what every node of ours shows to a host explorer.
//
// A node describes itself through the virtual operations below (fixed tables, children, an icon,
// current values, what to do with a changed one); the supplier makes of that description what hosts
// ask for:
//
//   option_supplier.cc  the host's option objects: definitions, values, changes
//   option_storage.cc   values in structured storage
//   node_menu.cc        the context menu
//   node_images.cc      image lists in streams
//
// The option objects belong to the host. They are created by ProgID and used by the names of their
// members alone; what fails on one of them is passed over. An edit in the host's page arrives as an
// accessor event on the value collection, which is then read anew and written back.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/accessor_events.h"
#include "host/node_description.h"
#include "host/node_images.h"
#include "host/subscriptions.h"
#include "model/explorer_node.h"
#include "platform/shell/icon.h"

namespace tallowbrook {

// A child node: one of ours with its name and type, or a foreign object, which has an "ID" itself.
struct ChildNode {
  platform::ComPtr<IDispatch> object;  // for one of ours a new object around it
  bool foreign = false;
  std::u16string name;
  std::string type;
};

struct NamedValue {
  std::u16string id;
  platform::Variant value;
};

class COptionSupplier : public ExplorerNode, protected CAccessorEventsCallback {
 public:
  COptionSupplier() = default;
  ~COptionSupplier() override;

  // --- for the host -----------------------------------------------------------------------------
  [[nodiscard]] platform::Variant item(const VARIANT& index) override;
  HRESULT image_list(ImageListKind kind, IUnknown** stream) override;
  HRESULT options(IDispatch** options) override;
  HRESULT current_values(std::u16string_view option, IDispatch** values) override;
  HRESULT choice_values(std::u16string_view option, IDispatch** values) override;
  HRESULT load_options(IStorage& storage) override;
  HRESULT save_options(IStorage& storage) override;
  HRESULT query_context_menu(HMENU menu, UINT index, UINT first, UINT last) override;
  HRESULT invoke_command(const CMINVOKECOMMANDINFO* info) override;
  HRESULT command_string(std::uintptr_t command, UINT kind, char* buffer, UINT size) override;

  // The sinks that are connected to value collections at this moment.
  [[nodiscard]] std::size_t sink_count() const { return subscriptions_.count(); }

 protected:
  // --- accessor events: the first four read the accessor anew ------------------------------------
  void on_added(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) override;
  void on_removed(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) override;
  void on_changed(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) override;
  void on_reloaded(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value) override;
  void on_state_changed(CAccessorEvents& sink, IDispatch& accessor, const VARIANT& value,
                        SHORT state) override;
  HRESULT forward(CAccessorEvents& sink, DISPID event, DISPPARAMS* arguments) override;

  // --- the description ---------------------------------------------------------------------------
  // child_count, display_name and type_identifier are those of ExplorerNode.
  [[nodiscard]] virtual std::optional<ChildNode> child(LONG position) = 0;
  // Null when there is none. The caller destroys it.
  [[nodiscard]] virtual HICON icon(int size) = 0;
  // The menu text of the row at a position of the menu; empty for a separator and past the end.
  [[nodiscard]] virtual std::string_view menu_text(UINT position);
  // The verb of the command with an index; empty when there is none.
  [[nodiscard]] virtual std::string_view verb(UINT command);
  [[nodiscard]] virtual std::string_view help_text(std::string_view verb);
  virtual HRESULT execute(std::string_view verb) = 0;
  [[nodiscard]] virtual std::span<const OptionRow> option_table() = 0;
  [[nodiscard]] virtual std::span<const VerbRow> verb_table() = 0;
  [[nodiscard]] virtual std::span<const ChoiceRow> choice_table() { return {}; }
  // Value number `index` of an option; nothing when there are no more.
  [[nodiscard]] virtual std::optional<NamedValue> current_value(std::u16string_view option,
                                                                ULONG index) = 0;
  virtual void write_back(std::u16string_view option, const VARIANT& value) = 0;
  [[nodiscard]] virtual std::optional<NamedValue> choice(std::u16string_view option, ULONG index);
  // The further object whose options a chaining row stands for; null when there is none.
  [[nodiscard]] virtual platform::ComPtr<IDispatch> chained_object(ULONG chain_index) = 0;
  // False from the moment that the node begins to go.
  [[nodiscard]] virtual bool attached() const { return attached_; }

 private:
  using ValueSource = std::optional<NamedValue> (COptionSupplier::*)(std::u16string_view, ULONG);

  // The first child with that name (in any case) or type; for a foreign one, with that "ID".
  [[nodiscard]] std::optional<ChildNode> find_child(std::u16string_view wanted);
  void fill_options(IDispatch& options);
  // The first failures, after all values were tried.
  struct Filled {
    HRESULT created = S_OK;  // of the host's class
    HRESULT added = S_OK;
  };
  // Adds what the source gives to the list.
  Filled fill_values(IDispatch& values, std::u16string_view option, ValueSource source);
  HRESULT new_values(std::u16string_view option, ValueSource source,
                     platform::ComPtr<IDispatch>& values);
  HRESULT save_values(IStorage& storage, const OptionRow& row, REFCLSID value_class);
  void reread(IDispatch& accessor);
  // Hands one value to `write_back`; false when the item holds none.
  bool reread_item(IDispatch& item);

  platform::ComPtr<IDispatch> options_;
  Subscriptions subscriptions_;
  NodeImages images_;
  bool attached_ = true;
};

}  // namespace tallowbrook
