#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "core/creators.h"
#include "platform/automation/late_bound.h"
#include "tallowbrook/class_ids.h"
#include "tallowbrook/collections.h"
#include "tests/collections/items.h"

namespace tallowbrook::test {
namespace {

Variant of_type(VARTYPE type, LONG number) {
  Variant value(number);
  value.vt = type;
  return value;
}
Variant text(std::u16string_view words) { return Variant(words); }

// A list of objects with the given ids; their "Text" is the letter of their position.
ComPtr<IDialupCollection> list_of(const std::vector<Variant>& ids) {
  ComPtr<IDialupCollection> list;
  EXPECT_EQ(create_dialup_collection(IDialupCollection::kIid, list.out_void()), S_OK);
  EXPECT_EQ(list->Clear(), S_OK);
  char16_t letter = u'a';
  for (const Variant& id : ids) {
    const auto item = make_object<PlainItem>();
    if (id.vt != VT_ERROR) item->values[u"ID"] = id;
    item->values[u"Text"] = text(std::u16string(1, letter++));
    EXPECT_EQ(list->Add(Variant(static_cast<IDispatch*>(item.get()))), S_OK);
  }
  return list;
}

// The letter of an item that was asked for; "none" when there is none.
std::u16string letter(HRESULT status, const Variant& item) {
  if (status != S_OK) return status == E_FAIL && item.vt == VT_EMPTY ? u"none" : u"?";
  return std::u16string(platform::get(item.pdispVal, u"Text").value.text());
}

// The letters of the items; "-" for what is no object.
std::u16string letters(IDialupCollection& list) {
  std::u16string all;
  LONG count = 0;
  EXPECT_EQ(list.get_Count(&count), S_OK);
  for (LONG i = 0; i < count; ++i) {
    Variant item;
    EXPECT_EQ(list.get_Item(Variant(i), &item), S_OK);
    all += item.vt == VT_DISPATCH ? letter(S_OK, item) : u"-";
  }
  return all;
}

TEST(DialupCollection, AnIndexIsAPositionOrAnId) {
  const Variant null = of_type(VT_NULL, 0);
  const auto list = list_of({text(u"home"), of_type(VT_I2, 1), text(u"5"), of_type(VT_UI4, 5), null,
                             Variant(5), text(u"home"), Variant::missing()});
  Variant four(4);
  Variant five = of_type(VT_I2, 1);
  LONG plain = 2;
  Variant by_reference;
  by_reference.vt = VT_BYREF | VT_I4;
  by_reference.plVal = &plain;
  const struct {
    Variant index;
    std::u16string item;
  } cases[] = {
      {Variant(0), u"a"},
      {Variant(-3), u"a"},
      {Variant(2), u"c"},
      {by_reference, u"c"},
      {Variant::by_reference(&four), u"e"},
      {Variant(8), u"none"},
      {of_type(VT_I2, 1), u"b"},
      {Variant::by_reference(&five), u"b"},
      {of_type(VT_I2, 5), u"none"},
      {text(u"5"), u"c"},
      {text(u"home"), u"a"},
      {text(u"Home"), u"none"},
      {of_type(VT_UI4, 5), u"d"},
      {null, u"e"},
      {Variant(), u"none"},
      {Variant::missing(), u"none"},
  };
  for (const auto& one : cases) {
    Variant item;
    const HRESULT status = list->get_Item(one.index, &item);
    EXPECT_EQ(letter(status, item), one.item) << one.index.vt << " " << one.index.lVal;
  }
  Variant by_id;
  EXPECT_EQ(letter(list->ItemByID(Variant(5), &by_id), by_id), u"f") << "a number as an id";
  for (const auto& [position, type, found] :
       {std::tuple{3, VT_UI4, u"d"}, {7, VT_EMPTY, u"none"}, {8, VT_EMPTY, u"none"}}) {
    Variant id;
    Variant item;
    const HRESULT status = list->ItemID(position, &id, &item);
    EXPECT_EQ(letter(status, item), found) << position;
    EXPECT_EQ(id.vt, type) << position;
  }
  by_id.clear();
  EXPECT_EQ(list->ItemID(0, nullptr, &by_id), E_POINTER);
  EXPECT_EQ(list->get_Item(Variant(0), nullptr), E_POINTER);
  EXPECT_EQ(list->ItemByID(Variant(0), nullptr), E_POINTER);
}

TEST(DialupCollection, ChangesByPositionAndById) {
  const auto list = list_of({text(u"x"), text(u"y"), text(u"x"), text(u"z")});
  EXPECT_EQ(list->Remove(text(u"x")), S_OK);
  EXPECT_EQ(letters(*list), u"bcd");
  EXPECT_EQ(list->RemoveByID(text(u"x")), S_OK);
  EXPECT_EQ(list->RemoveByID(text(u"x")), E_FAIL);
  EXPECT_EQ(list->Remove(Variant(2)), E_INVALIDARG);
  EXPECT_EQ(list->Remove(of_type(VT_I2, 0)), E_FAIL);
  EXPECT_EQ(letters(*list), u"bd");
  EXPECT_EQ(list->Modify(text(u"z"), Variant(1)), S_OK);
  EXPECT_EQ(list->ModifyByID(text(u"z"), Variant(1)), E_FAIL);  // no object, so it has no id now
  EXPECT_EQ(letters(*list), u"b-");
  Variant id;
  Variant item;
  EXPECT_EQ(list->ItemID(1, &id, &item), E_FAIL);
  EXPECT_EQ(list->Modify(Variant(0), Variant(2)), S_OK);
  EXPECT_EQ(letters(*list), u"--");
}

// An item whose ID is asked for may change the list that asks.
TEST(DialupCollection, AnItemMayChangeTheListWhileItIsAskedForItsId) {
  class Clearing final : public PropertyBag<> {
   public:
    IDialupCollection* list = nullptr;
    HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                   UINT*) override {
      list->Clear();
      Variant(std::u16string_view(u"me")).detach_to(result);
      return S_OK;
    }
  };
  const auto list_with_clearing = [] {
    auto list = list_of({});
    const auto item = make_object<Clearing>();
    item->list = list.get();
    EXPECT_EQ(list->Add(Variant(static_cast<IDispatch*>(item.get()))), S_OK);
    return list;
  };
  Variant item;
  EXPECT_EQ(list_with_clearing()->ItemByID(text(u"me"), &item), S_OK);
  EXPECT_EQ(list_with_clearing()->RemoveByID(text(u"me")), E_INVALIDARG);
  EXPECT_EQ(list_with_clearing()->ModifyByID(text(u"you"), Variant(1)), E_FAIL);
}

}  // namespace
}  // namespace tallowbrook::test
