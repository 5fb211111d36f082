// The machine's dial-up connection entries.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

struct IDialupConnection : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x3F50E1AC, 0xA0DB, 0x4C30, {0x83, 0x89, 0xD2, 0x99, 0x1C, 0xA6, 0x2C, 0x9E}};

  virtual HRESULT get_ID(VARIANT* id) = 0;  // the display name
  virtual HRESULT get_Name(BSTR* name) = 0;
  // Opens the entry as a double-click on it does; always S_OK.
  virtual HRESULT Execute() = 0;
};

}  // namespace tallowbrook
