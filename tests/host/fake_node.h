// A node whose description a test fills in, and calls on it.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/option_supplier.h"

namespace tallowbrook::test {

class FakeNode final : public COptionSupplier {
 public:
  LONG child_count() override { return static_cast<LONG>(children.size()); }
  std::u16string display_name() override { return u"fake"; }
  std::string type_identifier() override { return "fake"; }

  std::vector<ChildNode> children;
  std::vector<VerbRow> verbs;
  std::vector<OptionRow> options_given;
  std::vector<ChoiceRow> choices;
  std::map<std::u16string, std::vector<platform::Variant>> values;
  std::vector<std::pair<std::u16string, platform::Variant>> written;
  std::vector<std::string> executed;
  platform::ComPtr<IDispatch> chained;
  bool has_icon = true;

  using COptionSupplier::menu_text;

 protected:
  platform::ComPtr<IUnknown> keeper() override { return nullptr; }
  std::optional<ChildNode> child(LONG position) override {
    const auto index = static_cast<std::size_t>(position);
    if (position < 0 || index >= children.size()) return std::nullopt;
    return children[index];
  }
  HICON icon(int size) override {
    return has_icon ? platform::make_icon(platform::Picture(size, size)) : nullptr;
  }
  HRESULT execute(std::string_view verb) override {
    executed.emplace_back(verb);
    return S_OK;
  }
  std::span<const OptionRow> option_table() override { return options_given; }
  std::span<const VerbRow> verb_table() override { return verbs; }
  std::span<const ChoiceRow> choice_table() override { return choices; }
  std::optional<NamedValue> current_value(std::u16string_view option, ULONG index) override {
    const auto found = values.find(std::u16string(option));
    if (found == values.end() || index >= found->second.size()) return std::nullopt;
    return NamedValue{found->first, found->second[index]};
  }
  void write_back(std::u16string_view option, const VARIANT& value) override {
    written.emplace_back(option, platform::Variant(value));
  }
  platform::ComPtr<IDispatch> chained_object(ULONG) override { return chained; }
};

}  // namespace tallowbrook::test
