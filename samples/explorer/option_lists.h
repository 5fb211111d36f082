// Bramblescope.OptionCollection and Bramblescope.OptionValueCollection: lists of definitions and of
// values.
#pragma once

#include <vector>

#include "platform/com/connection_point.h"
#include "samples/explorer/object.h"
#include "samples/explorer/option_value.h"

namespace bramblescope {

// What both lists are. A class derives from it with its further interfaces.
template <class... Faces>
class OptionList : public Object<Automation<IOptionList>, Faces...> {
 public:
  HRESULT get_Item(LONG position, VARIANT* item) override;
  HRESULT get_Count(LONG* count) override;
  HRESULT Add(VARIANT item) override;
  HRESULT Remove(LONG position) override;
  HRESULT put_Options(IDispatch* target) override;

 protected:
  [[nodiscard]] const std::vector<ComPtr<IDispatch>>& items() const { return items_; }

  virtual void added(IDispatch&) {}
  virtual void removed(IDispatch&) {}

 private:
  [[nodiscard]] bool has(LONG position) const {
    return position >= 0 && static_cast<std::size_t>(position) < items_.size();
  }

  std::vector<ComPtr<IDispatch>> items_;
};

class OptionCollection final : public OptionList<> {};

// Tells its sinks when a value comes, goes, or gets another XValue.
class OptionValueCollection final : public OptionList<IConnectionPointContainer>,
                                    private ValueOwner {
 public:
  OptionValueCollection();
  ~OptionValueCollection() override;

  HRESULT EnumConnectionPoints(IEnumConnectionPoints** all) override;
  HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

 private:
  void added(IDispatch& item) override;
  void removed(IDispatch& item) override;
  void value_changed(IDispatch& value) override;
  void raise(DISPID event, IDispatch& value);

  tallowbrook::platform::ConnectionPointContainer points_;
};

}  // namespace bramblescope
