// The members of the collections.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/collections.h"

namespace tallowbrook::platform {

template <>
struct Describe<ICollection> {
  static constexpr auto members = std::array{
      getter<&ICollection::get__NewEnum>(DISPID_NEWENUM, u"_NewEnum", u"Enumerator")
          .flagged(kMemberRestricted | kMemberHidden),
      getter<&ICollection::get_Item>(0, u"Item", names(u"Index"), u"Item at a position"),
      getter<&ICollection::get_Count>(1, u"Count", u"Number of items"),
      method<&ICollection::Add>(2, u"Add", names(u"Item"), u"Appends an item"),
      method<&ICollection::Remove>(3, u"Remove", names(u"Index"), u"Removes an item"),
      method<&ICollection::Clear>(4, u"Clear", u"Removes all items"),
      method<&ICollection::Modify>(5, u"Modify", names(u"Index", u"Item"), u"Replaces an item"),
      method_without_result<&ICollection::ItemID>(6, u"ItemID",
                                                  names(u"Index", out(u"ID"), out(u"Item")),
                                                  u"Item at a position and its ID"),
      method<&ICollection::ItemByID>(7, u"ItemByID", names(u"ID"), u"Item with an ID"),
      method<&ICollection::RemoveByID>(8, u"RemoveByID", names(u"ID"),
                                       u"Removes the item with an ID"),
      method<&ICollection::ModifyByID>(9, u"ModifyByID", names(u"ID", u"Item"),
                                       u"Replaces the item with an ID"),
  };
};

template <>
struct Describe<IDialupCollection> {
  static constexpr auto members = std::array{
      getter<&IDialupCollection::get__NewEnum>(DISPID_NEWENUM, u"_NewEnum", u"Enumerator")
          .flagged(kMemberRestricted | kMemberHidden),
      getter<&IDialupCollection::get_Item>(0, u"Item", names(u"Index"),
                                           u"Item at a position or with an ID"),
      getter<&IDialupCollection::get_Count>(1, u"Count", u"Number of items"),
      method<&IDialupCollection::Add>(2, u"Add", names(u"Item"), u"Appends an item"),
      method<&IDialupCollection::Remove>(3, u"Remove", names(u"Index"), u"Removes an item"),
      method<&IDialupCollection::Clear>(4, u"Clear", u"Removes all items"),
      method<&IDialupCollection::Modify>(5, u"Modify", names(u"Index", u"Item"),
                                         u"Replaces an item"),
      method_without_result<&IDialupCollection::ItemID>(6, u"ItemID",
                                                        names(u"Index", out(u"ID"), out(u"Item")),
                                                        u"Item at a position and its ID"),
      method<&IDialupCollection::ItemByID>(7, u"ItemByID", names(u"ID"), u"Item with an ID"),
      method<&IDialupCollection::RemoveByID>(8, u"RemoveByID", names(u"ID"),
                                             u"Removes the item with an ID"),
      method<&IDialupCollection::ModifyByID>(9, u"ModifyByID", names(u"ID", u"Item"),
                                             u"Replaces the item with an ID"),
  };
};

template <>
struct Describe<IComCollection> {
  static constexpr auto members = std::array{
      getter<&IComCollection::get__NewEnum>(DISPID_NEWENUM, u"_NewEnum", u"Enumerator")
          .flagged(kMemberRestricted | kMemberHidden),
      getter<&IComCollection::get_Item>(0, u"Item", names(u"Index"), u"Item at a position"),
      getter<&IComCollection::get_Count>(1, u"Count", u"Number of items"),
      method<&IComCollection::Add>(2, u"Add", names(u"Item"), u"Appends an item"),
      method<&IComCollection::Remove>(3, u"Remove", names(u"Index"), u"Removes an item"),
      method<&IComCollection::Clear>(4, u"Clear", u"Removes all items"),
      method<&IComCollection::Modify>(5, u"Modify", names(u"Index", u"Item"), u"Replaces an item"),
      method<&IComCollection::ItemByID>(7, u"ItemByID", names(u"ID"), u"Item with an ID"),
      method<&IComCollection::RemoveByID>(8, u"RemoveByID", names(u"ID"),
                                          u"Removes the item with an ID"),
      method<&IComCollection::ModifyByID>(9, u"ModifyByID", names(u"ID", u"Item"),
                                          u"Replaces the item with an ID"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kCollectionInfo =
    platform::interface_info<ICollection>(u"ICollection", u"ICollection Interface");
inline constexpr platform::InterfaceInfo kDialupCollectionInfo =
    platform::interface_info<IDialupCollection>(u"IDialupCollection",
                                                u"IDialupCollection Interface");
inline constexpr platform::InterfaceInfo kComCollectionInfo =
    platform::interface_info<IComCollection>(u"IComCollection", u"IComCollection Interface");

}  // namespace tallowbrook
