// The mail address's members.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/mail_address.h"

namespace tallowbrook::platform {

template <>
struct Describe<IMailAddress> {
  static constexpr auto members = std::array{
      property<&IMailAddress::get_Address, &IMailAddress::put_Address>(1, u"Address", u"Address"),
      property<&IMailAddress::get_NameRaw, &IMailAddress::put_NameRaw>(
          2, u"NameRaw", u"Display name as it is written in a header"),
      property<&IMailAddress::get_Name, &IMailAddress::put_Name>(3, u"Name", u"Display name"),
      getter<&IMailAddress::get_RouteAddress>(4, u"RouteAddress", u"Address in angle brackets"),
      setter<&IMailAddress::put_Charset>(5, u"Charset",
                                         u"Charset that a display name is encoded with"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kMailAddressInfo =
    platform::interface_info<IMailAddress>(u"IMailAddress", u"IMailAddress Interface");

}  // namespace tallowbrook
