// CMailAddress: one mail address that a host holds, a copy of its own.
#pragma once

#include <string>
#include <string_view>

#include "core/object.h"
#include "tallowbrook/mail_address.h"

namespace tallowbrook {

class CMailAddress final : public Object<Confined, Dispatching<IMailAddress>> {
 public:
  CMailAddress() = default;
  CMailAddress(std::string_view address, std::string_view name) : address_(address), name_(name) {}

  // The one identity by which the component knows its own addresses (never leaves it).
  static constexpr GUID kOwnIid{
      0x8E0B7A41, 0x6C52, 0x4F0E, {0xA9, 0x3D, 0x1B, 0x57, 0x02, 0xC4, 0x9F, 0x66}};
  HRESULT QueryInterface(REFIID iid, void** object) override;

  HRESULT get_Address(BSTR* address) override;
  HRESULT put_Address(BSTR address) override;
  HRESULT get_NameRaw(BSTR* name) override;
  HRESULT put_NameRaw(BSTR name) override;
  HRESULT get_Name(BSTR* name) override;
  HRESULT put_Name(BSTR name) override;
  HRESULT get_RouteAddress(BSTR* address) override;
  HRESULT put_Charset(BSTR charset) override;

  [[nodiscard]] const std::string& address_raw() const { return address_; }
  [[nodiscard]] const std::string& name_raw() const { return name_; }
  [[nodiscard]] std::string route_address() const;

 private:
  std::string address_;  // as stored: perhaps in brackets, between blanks, with encoded words
  std::string name_;     // encoded words not decoded
  std::string charset_;  // for names that are put
};

}  // namespace tallowbrook
