// CDialupConnection: one of the machine's connections.
#pragma once

#include <memory>
#include <string>

#include "core/object.h"
#include "platform/com/activation.h"
#include "platform/shell/shell_folder.h"
#include "tallowbrook/dialup.h"

namespace tallowbrook {

struct TaskMemoryFree {
  void operator()(void* memory) const { CoTaskMemFree(memory); }
};
// An item identifier list of the shell.
using ItemList = std::unique_ptr<ITEMIDLIST, TaskMemoryFree>;

class CDialupConnection final : public Object<Shared, Dispatching<IDialupConnection>> {
 public:
  CDialupConnection() = default;  // without a name and an entry
  // `name` in the ANSI code page, as the shell shows it; `entry` starts at the desktop.
  CDialupConnection(std::string name, ItemList entry)
      : name_(std::move(name)), entry_(std::move(entry)) {}

  HRESULT get_ID(VARIANT* id) override;
  HRESULT get_Name(BSTR* name) override;
  HRESULT Execute() override;

 private:
  std::string name_;
  ItemList entry_;
};

}  // namespace tallowbrook
