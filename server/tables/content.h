// The members of content types, dispositions, parameters, header fields and byte containers.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/content.h"

namespace tallowbrook::platform {

template <>
struct Describe<IContentType> {
  static constexpr auto members = std::array{
      property<&IContentType::get_Major, &IContentType::put_Major>(1, u"Major",
                                                                   u"Major media type"),
      property<&IContentType::get_Minor, &IContentType::put_Minor>(2, u"Minor",
                                                                   u"Minor media type"),
      getter<&IContentType::get_Parameters>(3, u"Parameters", u"Parameters"),
  };
};

template <>
struct Describe<IContentDisposition> {
  static constexpr auto members = std::array{
      property<&IContentDisposition::get_Value, &IContentDisposition::put_Value>(1, u"Value",
                                                                                 u"Disposition"),
      getter<&IContentDisposition::get_Parameters>(2, u"Parameters", u"Parameters"),
  };
};

template <>
struct Describe<IParameterMap> {
  static constexpr auto members = std::array{
      getter<&IParameterMap::get_Item>(0, u"Item", names(u"Index"),
                                       u"Parameter by name or position"),
      getter<&IParameterMap::get_Count>(1, u"Count", u"Number of parameters"),
      method<&IParameterMap::Remove>(3, u"Remove", names(u"Index"),
                                     u"Removes a parameter by name or position"),
      method<&IParameterMap::Clear>(4, u"Clear", u"Removes all parameters"),
      method<&IParameterMap::Modify>(
          5, u"Modify", names(u"Index", u"Item", with_default(u"bQuote", VARIANT_TRUE)),
          u"Sets a parameter"),
      getter<&IParameterMap::get_ParameterName>(6, u"ParameterName", names(u"Index"),
                                                u"Name of the parameter at a position"),
      method<&IParameterMap::Exists>(7, u"Exists", names(u"Index"),
                                     u"Whether there is a parameter of a name"),
  };
};

template <>
struct Describe<IFieldCollection> {
  static constexpr auto members = std::array{
      getter<&IFieldCollection::get_Item>(0, u"Item", names(u"Index"),
                                          u"Name of the field at a position"),
      getter<&IFieldCollection::get_Count>(1, u"Count", u"Number of fields"),
      method<&IFieldCollection::Remove>(3, u"Remove", names(u"Index"),
                                        u"Removes fields by name or position"),
      method<&IFieldCollection::Clear>(4, u"Clear", u"Removes all fields"),
  };
};

template <>
struct Describe<IBlob> {
  static constexpr auto members = std::array{
      method<&IBlob::AssignString>(1, u"AssignString", names(u"strBlob"),
                                   u"Replaces the content by a text"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kContentTypeInfo =
    platform::interface_info<IContentType>(u"IContentType", u"IContentType Interface");
inline constexpr platform::InterfaceInfo kContentDispositionInfo =
    platform::interface_info<IContentDisposition>(u"IContentDisposition",
                                                  u"IContentDisposition Interface");
inline constexpr platform::InterfaceInfo kParameterMapInfo =
    platform::interface_info<IParameterMap>(u"IParameterMap", u"IParameterMap Interface");
inline constexpr platform::InterfaceInfo kFieldCollectionInfo =
    platform::interface_info<IFieldCollection>(u"IFieldCollection", u"IFieldCollection Interface");
inline constexpr platform::InterfaceInfo kBlobInfo =
    platform::interface_info<IBlob>(u"IBlob", u"IBlob Interface");

}  // namespace tallowbrook
