// Event interfaces: a sink answers to IDispatch and gets the events through Invoke.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

// Of the message object. Offered and never raised: parse errors arrive in the thread's error
// object.
struct _IMimeDecoderEvents : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x95C9C57C, 0x290E, 0x46E4, {0xAC, 0x21, 0xAA, 0x30, 0x75, 0x0A, 0xB5, 0x44}};

  static constexpr DISPID kOnError = 1;  // (BSTR strHint, LONG Line)
};

// Of a list of option values, and of the message object for its own subject. Arguments: the object
// that changed and a value; kStateChanged has a 16-bit number behind them.
struct _IAccessorEvents : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x0ABEDD59, 0x2F34, 0x47E7, {0x8A, 0x01, 0x00, 0xBC, 0xA7, 0xC4, 0x27, 0x1D}};

  static constexpr DISPID kAdded = 1;
  static constexpr DISPID kRemoved = 2;
  static constexpr DISPID kChanged = 3;
  static constexpr DISPID kReloaded = 4;
  static constexpr DISPID kStateChanged = 5;
};

}  // namespace tallowbrook
