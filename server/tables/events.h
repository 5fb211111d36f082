// The events that sinks hear.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/events.h"

namespace tallowbrook::platform {

template <>
struct Describe<_IMimeDecoderEvents> {
  static constexpr auto members = std::array{
      event<BSTR, LONG>(_IMimeDecoderEvents::kOnError, u"OnError", names(u"strHint", u"Line"),
                        u"A message did not parse"),
  };
};

template <>
struct Describe<_IAccessorEvents> {
  static constexpr auto members = std::array{
      event<IDispatch*, VARIANT>(_IAccessorEvents::kAdded, u"OnAdded", names(u"Accessor", u"Value"),
                                 u"A value came"),
      event<IDispatch*, VARIANT>(_IAccessorEvents::kRemoved, u"OnRemoved",
                                 names(u"Accessor", u"Value"), u"A value went"),
      event<IDispatch*, VARIANT>(_IAccessorEvents::kChanged, u"OnChanged",
                                 names(u"Accessor", u"Value"), u"A value changed"),
      event<IDispatch*, VARIANT>(_IAccessorEvents::kReloaded, u"OnReloaded",
                                 names(u"Accessor", u"Value"), u"All values changed"),
      event<IDispatch*, VARIANT, SHORT>(_IAccessorEvents::kStateChanged, u"OnStateChanged",
                                        names(u"Accessor", u"Value", typed(u"State", VT_I2)),
                                        u"The state changed"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kMimeDecoderEventsInfo =
    platform::interface_info<_IMimeDecoderEvents>(u"_IMimeDecoderEvents",
                                                  u"_IMimeDecoderEvents Interface",
                                                  platform::InterfaceKind::kDispatch);
inline constexpr platform::InterfaceInfo kAccessorEventsInfo =
    platform::interface_info<_IAccessorEvents>(u"_IAccessorEvents", u"_IAccessorEvents Interface",
                                               platform::InterfaceKind::kDispatch);

}  // namespace tallowbrook
