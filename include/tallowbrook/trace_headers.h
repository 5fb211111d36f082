// The trace headers ("Received:", RFC 822 section 4.3.2) of a message.
//
// Both objects show the message's own records: a change through them changes the message.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

struct IReceived : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x1DCF3FCF, 0xAA16, 0x4612, {0xB0, 0x4B, 0x3D, 0x65, 0xFF, 0x56, 0x79, 0xD1}};

  // The header's text: as loaded while nobody has asked for its parts, else the clauses in the
  // order of their names, each on a line of its own, then "; " and the date.
  virtual HRESULT get_Value(BSTR* text) = 0;
  virtual HRESULT put_Value(BSTR text) = 0;
  // An automation date in the local time of this machine; a text where the header has no readable
  // date.
  virtual HRESULT get_Date(VARIANT* date) = 0;
  virtual HRESULT put_Date(VARIANT date) = 0;
  // An IParameterMap of the clauses (from, by, via, with, id, for). E_FAIL when the header has no
  // clauses that could be read.
  virtual HRESULT get_Parameters(IDispatch** parameters) = 0;
};

struct IReceivedCollection : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x583090FE, 0x0D90, 0x4E11, {0x8A, 0x79, 0x25, 0x28, 0xAC, 0x66, 0xD0, 0x42}};

  // The IReceived of the record `index`, counted from 0 in the order of the header lines.
  // E_INVALIDARG when there is none.
  virtual HRESULT get_Item(LONG index, IDispatch** item) = 0;
  virtual HRESULT get_Count(LONG* count) = 0;
  virtual HRESULT Remove(LONG index) = 0;  // E_INVALIDARG when there is no such record
  virtual HRESULT Clear() = 0;
};

}  // namespace tallowbrook
