// The envelope of a message that the host sends: its sender, and everyone it is for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/host.h"

namespace tallowbrook::cli {

// What a sending object reads of a message, by name: "Sender", an address, and "To", the recipients
// of To, cc and bcc, each address once. Counted plainly and used by one thread.
class Envelope final : public IDispatch {
 public:
  // From the header of a message, whose lines end with CR LF. `list` is an empty list of the
  // component's, with a method Add.
  Envelope(std::string_view header, Object list);

  // As they go into commands, bytes of the header; the sender is empty when it names none.
  [[nodiscard]] const std::string& sender() const { return sender_; }
  [[nodiscard]] const std::vector<std::string>& recipients() const { return recipients_; }

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override { return ++references_; }
  ULONG Release() override;
  HRESULT GetTypeInfoCount(UINT* count) override;
  HRESULT GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
  HRESULT GetIDsOfNames(REFIID reserved, OLECHAR** names, UINT count, LCID lcid,
                        DISPID* ids) override;
  HRESULT Invoke(DISPID member, REFIID reserved, LCID lcid, WORD flags, DISPPARAMS* arguments,
                 VARIANT* result, EXCEPINFO* exception, UINT* argument_error) override;

 private:
  ~Envelope() = default;

  std::string sender_;
  std::vector<std::string> recipients_;
  Object address_;
  Object list_;
  ULONG references_ = 1;
};

}  // namespace tallowbrook::cli
