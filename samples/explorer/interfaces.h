// The option objects of the reference explorer, as its component offers them: one definition, one
// value, and a list of either. Components fill and read them by the names of the members.
#pragma once

#include "platform/automation/describe.h"

namespace bramblescope {

inline constexpr CLSID CLSID_OptionDef{
    0x42929D32, 0x598A, 0x4E40, {0x90, 0xBD, 0x05, 0x6B, 0x3C, 0x10, 0xC6, 0x7B}};
inline constexpr CLSID CLSID_OptionCollection{
    0x6A609B96, 0xC201, 0x40DD, {0xBA, 0x5A, 0x08, 0x17, 0x07, 0xEA, 0x3D, 0x0C}};
inline constexpr CLSID CLSID_OptionValue{
    0xC80231B7, 0x3D16, 0x4296, {0x84, 0x3A, 0x3D, 0x01, 0xF3, 0x44, 0xE3, 0x67}};
inline constexpr CLSID CLSID_OptionValueCollection{
    0x83154A50, 0x1ACA, 0x4695, {0x95, 0xCC, 0x9A, 0xE1, 0x76, 0x46, 0xD5, 0x53}};

// What an option is called and what it takes.
struct IOptionDef : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x9AB6ADD3, 0x1253, 0x46B8, {0xB0, 0x0B, 0x33, 0x62, 0x01, 0xA8, 0x65, 0xEE}};

  virtual HRESULT get_ID(BSTR* id) = 0;
  virtual HRESULT put_ID(BSTR id) = 0;
  virtual HRESULT get_ShortName(BSTR* name) = 0;
  virtual HRESULT put_ShortName(BSTR name) = 0;
  virtual HRESULT get_Name(BSTR* name) = 0;
  virtual HRESULT put_Name(BSTR name) = 0;
  virtual HRESULT get_Description(BSTR* text) = 0;
  virtual HRESULT put_Description(BSTR text) = 0;
  virtual HRESULT get_Enabled(VARIANT_BOOL* enabled) = 0;
  virtual HRESULT put_Enabled(VARIANT_BOOL enabled) = 0;
  virtual HRESULT get_DataFormat(BSTR* format) = 0;
  virtual HRESULT put_DataFormat(BSTR format) = 0;
  virtual HRESULT get_Type(LONG* type) = 0;
  virtual HRESULT put_Type(LONG type) = 0;
};

// One value of an option. `XValue` is a stream that holds the value: its type, then its data.
struct IOptionValue : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x82996270, 0xAF05, 0x4E95, {0x92, 0xCB, 0x41, 0x85, 0xD0, 0x81, 0xF2, 0x13}};

  virtual HRESULT get_ID(BSTR* id) = 0;
  virtual HRESULT put_ID(BSTR id) = 0;
  virtual HRESULT get_IsValueOfOption(BSTR* option) = 0;
  virtual HRESULT put_IsValueOfOption(BSTR option) = 0;
  virtual HRESULT get_XValue(VARIANT* stream) = 0;
  virtual HRESULT put_XValue(VARIANT stream) = 0;
  virtual HRESULT get_ItemData(LONG* data) = 0;  // a number for whoever keeps the value
  virtual HRESULT put_ItemData(LONG data) = 0;
};

// A list of definitions or of values; positions count from 0. A list of values tells its sinks what
// happens to it (tallowbrook::_IAccessorEvents).
struct IOptionList : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0xD7DEC77E, 0xE29C, 0x4868, {0xA5, 0x7E, 0xAC, 0xAA, 0xA0, 0x16, 0xDE, 0x29}};

  virtual HRESULT get_Item(LONG position, VARIANT* item) = 0;  // E_FAIL past the end
  virtual HRESULT get_Count(LONG* count) = 0;
  virtual HRESULT Add(VARIANT item) = 0;  // E_INVALIDARG for what is no object
  virtual HRESULT Remove(LONG position) = 0;
  // Adds this list's items to another one.
  virtual HRESULT put_Options(IDispatch* target) = 0;
};

}  // namespace bramblescope

namespace tallowbrook::platform {

template <>
struct Describe<bramblescope::IOptionDef> {
  using I = bramblescope::IOptionDef;
  static constexpr auto members = std::array{
      property<&I::get_ID, &I::put_ID>(1, u"ID"),
      property<&I::get_ShortName, &I::put_ShortName>(2, u"ShortName"),
      property<&I::get_Name, &I::put_Name>(3, u"Name"),
      property<&I::get_Description, &I::put_Description>(4, u"Description"),
      property<&I::get_Enabled, &I::put_Enabled>(5, u"Enabled"),
      property<&I::get_DataFormat, &I::put_DataFormat>(6, u"DataFormat"),
      property<&I::get_Type, &I::put_Type>(7, u"Type"),
  };
  static constexpr const char16_t* name = u"IOptionDef";
};

template <>
struct Describe<bramblescope::IOptionValue> {
  using I = bramblescope::IOptionValue;
  static constexpr auto members = std::array{
      property<&I::get_ID, &I::put_ID>(1, u"ID"),
      property<&I::get_IsValueOfOption, &I::put_IsValueOfOption>(2, u"IsValueOfOption"),
      property<&I::get_XValue, &I::put_XValue>(3, u"XValue"),
      property<&I::get_ItemData, &I::put_ItemData>(4, u"ItemData"),
  };
  static constexpr const char16_t* name = u"IOptionValue";
};

template <>
struct Describe<bramblescope::IOptionList> {
  using I = bramblescope::IOptionList;
  static constexpr auto members = std::array{
      getter<&I::get_Item>(0, u"Item", names(u"Position")),
      getter<&I::get_Count>(1, u"Count"),
      method<&I::Add>(2, u"Add", names(u"Item")),
      method<&I::Remove>(3, u"Remove", names(u"Position")),
      setter<&I::put_Options>(4, u"Options"),
  };
  static constexpr const char16_t* name = u"IOptionList";
};

}  // namespace tallowbrook::platform
