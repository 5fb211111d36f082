// Lists of variants. Positions count from 0; values go in and come out as copies.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

// A list that a script fills itself; its items have no ids.
struct ICollection : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x7C7C60CD, 0x7FA3, 0x481A, {0xB0, 0x8B, 0x32, 0x53, 0x57, 0x90, 0xBE, 0x59}};

  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;  // an IEnumVARIANT over the live list
  // A negative position is the first item; E_FAIL past the end.
  virtual HRESULT get_Item(LONG index, VARIANT* item) = 0;
  virtual HRESULT get_Count(LONG* count) = 0;
  virtual HRESULT Add(VARIANT item) = 0;
  virtual HRESULT Remove(LONG index) = 0;
  virtual HRESULT Clear() = 0;
  virtual HRESULT Modify(LONG index, VARIANT item) = 0;
  // E_NOTIMPL, these four.
  virtual HRESULT ItemID(LONG index, VARIANT* id, VARIANT* item) = 0;
  virtual HRESULT ItemByID(VARIANT id, VARIANT* item) = 0;
  virtual HRESULT RemoveByID(VARIANT id) = 0;
  virtual HRESULT ModifyByID(VARIANT id, VARIANT item) = 0;
};

// A list of objects that have a property "ID". An index that is a 32-bit integer (VT_I4) is a
// position, anything else is an id; the first item with that id is taken, E_FAIL when none has it.
struct IDialupCollection : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x9F3A5126, 0x0243, 0x4B85, {0xA4, 0xED, 0xAF, 0xA5, 0x35, 0x7C, 0xD0, 0xED}};

  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT get_Item(VARIANT index, VARIANT* item) = 0;
  virtual HRESULT get_Count(LONG* count) = 0;
  virtual HRESULT Add(VARIANT item) = 0;
  virtual HRESULT Remove(VARIANT index) = 0;
  virtual HRESULT Clear() = 0;
  virtual HRESULT Modify(VARIANT index, VARIANT item) = 0;
  // The item at a position together with its id; E_FAIL when it is no object.
  virtual HRESULT ItemID(LONG index, VARIANT* id, VARIANT* item) = 0;
  virtual HRESULT ItemByID(VARIANT id, VARIANT* item) = 0;
  virtual HRESULT RemoveByID(VARIANT id) = 0;
  virtual HRESULT ModifyByID(VARIANT id, VARIANT item) = 0;
};

// A list whose items, which are objects, live as elements of a storage. Every object that it hands
// out is a new one and has its element's id, a number, in its property "ItemData"; one that it
// takes gets the id of the element that it replaces, or -1 when it is added.
struct IComCollection : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x405A5ED8, 0xA67B, 0x44B9, {0xBD, 0xC1, 0x4C, 0x32, 0x71, 0xFE, 0xBC, 0x6C}};

  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT get_Item(LONG index, VARIANT* item) = 0;  // E_FAIL when there is no such element
  virtual HRESULT get_Count(LONG* count) = 0;
  virtual HRESULT Add(VARIANT item) = 0;
  virtual HRESULT Remove(LONG index) = 0;
  virtual HRESULT Clear() = 0;
  virtual HRESULT Modify(LONG index, VARIANT item) = 0;
  virtual HRESULT ItemByID(LONG id, VARIANT* item) = 0;
  virtual HRESULT RemoveByID(LONG id) = 0;
  virtual HRESULT ModifyByID(LONG id, VARIANT item) = 0;
};

}  // namespace tallowbrook
