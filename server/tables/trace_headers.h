// The members of trace headers and of their list.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/trace_headers.h"

namespace tallowbrook::platform {

template <>
struct Describe<IReceived> {
  static constexpr auto members = std::array{
      property<&IReceived::get_Value, &IReceived::put_Value>(1, u"Value", u"Text of the header"),
      property<&IReceived::get_Date, &IReceived::put_Date>(2, u"Date", u"Date of receipt"),
      getter<&IReceived::get_Parameters>(3, u"Parameters", u"Clauses of the header"),
  };
};

template <>
struct Describe<IReceivedCollection> {
  static constexpr auto members = std::array{
      getter<&IReceivedCollection::get_Item>(0, u"Item", names(u"Index"),
                                             u"Trace header at a position"),
      getter<&IReceivedCollection::get_Count>(1, u"Count", u"Number of trace headers"),
      method<&IReceivedCollection::Remove>(3, u"Remove", names(u"Index"),
                                           u"Removes the trace header at a position"),
      method<&IReceivedCollection::Clear>(4, u"Clear", u"Removes all trace headers"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kReceivedInfo =
    platform::interface_info<IReceived>(u"IReceived", u"IReceived Interface");
inline constexpr platform::InterfaceInfo kReceivedCollectionInfo =
    platform::interface_info<IReceivedCollection>(u"IReceivedCollection",
                                                  u"IReceivedCollection Interface");

}  // namespace tallowbrook
