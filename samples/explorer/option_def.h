// Bramblescope.OptionDef: one option of a node.
#pragma once

#include "samples/explorer/object.h"

namespace bramblescope {

class OptionDef final : public Object<Automation<IOptionDef>> {
 public:
  HRESULT get_ID(BSTR* id) override { return id_.get(id); }
  HRESULT put_ID(BSTR id) override { return id_.put(id); }
  HRESULT get_ShortName(BSTR* name) override { return short_name_.get(name); }
  HRESULT put_ShortName(BSTR name) override { return short_name_.put(name); }
  HRESULT get_Name(BSTR* name) override { return name_.get(name); }
  HRESULT put_Name(BSTR name) override { return name_.put(name); }
  HRESULT get_Description(BSTR* text) override { return description_.get(text); }
  HRESULT put_Description(BSTR text) override { return description_.put(text); }
  HRESULT get_Enabled(VARIANT_BOOL* enabled) override { return give(enabled_, enabled); }
  HRESULT put_Enabled(VARIANT_BOOL enabled) override {
    enabled_ = enabled;
    return S_OK;
  }
  HRESULT get_DataFormat(BSTR* format) override { return data_format_.get(format); }
  HRESULT put_DataFormat(BSTR format) override { return data_format_.put(format); }
  HRESULT get_Type(LONG* type) override { return give(type_, type); }
  HRESULT put_Type(LONG type) override {
    type_ = type;
    return S_OK;
  }

 private:
  TextProperty id_;
  TextProperty short_name_;
  TextProperty name_;
  TextProperty description_;
  TextProperty data_format_;
  VARIANT_BOOL enabled_ = VARIANT_TRUE;
  LONG type_ = 0;
};

}  // namespace bramblescope
