// The message in an explorer's tree: a node without children, with one command and one option.
#include "core/resources.h"
#include "core/text.h"
#include "host/message_icon.h"
#include "host/option_supplier.h"

namespace tallowbrook {

using platform::ComPtr;
using platform::Variant;

namespace {

constexpr std::u16string_view kSubject = u"Subject";

constexpr VerbRow kVerbs[] = {
    {.verb = "Rename", .menu_text = kStringRename, .help_text = kStringRenameHelp},
};

constexpr OptionRow kOptions[] = {
    {.short_name = u"Subject", .name = kStringSubject, .description = kStringSubjectHelp},
};

class MessageNode final : public COptionSupplier {
 public:
  explicit MessageNode(IMimeDecoder& message) : message_(message) {}

  LONG child_count() override { return 0; }

  std::u16string display_name() override {
    const Variant subject = read_subject();
    if (subject.text().empty()) return to_wide(string_resource(kStringNoName));
    return std::u16string(subject.text());
  }

  std::string type_identifier() override { return "email"; }

 protected:
  ComPtr<IUnknown> keeper() override { return ComPtr<IUnknown>(&message_); }
  std::optional<ChildNode> child(LONG) override { return std::nullopt; }
  HICON icon(int size) override { return platform::load_icon(message_icon(), size); }
  HRESULT execute(std::string_view) override { return S_OK; }
  std::span<const OptionRow> option_table() override { return kOptions; }
  std::span<const VerbRow> verb_table() override { return kVerbs; }

  std::optional<NamedValue> current_value(std::u16string_view option, ULONG index) override {
    if (option != kSubject || index != 0) return std::nullopt;
    return NamedValue{std::u16string(kSubject), read_subject()};
  }

  void write_back(std::u16string_view option, const VARIANT& value) override {
    if (option == kSubject) message_.put_Subject(value);
  }

  ComPtr<IDispatch> chained_object(ULONG) override { return nullptr; }

 private:
  [[nodiscard]] Variant read_subject() {
    Variant subject;
    if (FAILED(message_.get_Subject(&subject))) subject.clear();
    return subject;
  }

  IMimeDecoder& message_;
};

}  // namespace

std::unique_ptr<ExplorerNode> make_explorer_node(IMimeDecoder& message) {
  return std::make_unique<MessageNode>(message);
}

}  // namespace tallowbrook
