// The type library's tables against the interfaces they describe.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "core/object.h"
#include "platform/automation/invoke.h"
#include "server/type_library.h"
#include "tallowbrook/mime_body.h"
#include "tallowbrook/mime_decoder.h"

namespace tallowbrook {
namespace {

using platform::InterfaceInfo;
using platform::InterfaceKind;
using platform::InvokeKind;

std::string narrow(std::u16string_view text) { return {text.begin(), text.end()}; }

// The names of an interface's virtual functions in declared order, read from its header.
std::vector<std::string> declared_slots(const std::string& interface) {
  std::string source;
  for (const char* header : {"client_socket", "collections", "content", "dialup", "mail_address",
                             "mime_body", "mime_decoder", "trace_headers"}) {
    std::ifstream file(std::string(TALLOWBROOK_SOURCE_DIR "/include/tallowbrook/") + header + ".h");
    std::stringstream text;
    text << file.rdbuf();
    source += text.str();
  }
  const std::size_t start = source.find("struct " + interface + " : IDispatch {");
  if (start == std::string::npos) return {};
  const std::string body = source.substr(start, source.find("\n};", start) - start);
  const std::regex slot("virtual HRESULT (\\w+)\\(");
  std::vector<std::string> names;
  for (std::sregex_iterator it(body.begin(), body.end(), slot), end; it != end; ++it) {
    names.push_back((*it)[1]);
  }
  return names;
}

std::vector<std::string> described_slots(const InterfaceInfo& table) {
  std::vector<std::string> names;
  for (const platform::MemberInfo& member : table.members) {
    for (const platform::FunctionInfo& function : member.functions) {
      const char* prefix = function.kind == InvokeKind::kGet   ? "get_"
                           : function.kind == InvokeKind::kPut ? "put_"
                                                               : "";
      if (function.kind != InvokeKind::kNone) names.push_back(prefix + narrow(member.name));
    }
  }
  return names;
}

TEST(Tables, EveryDualInterfaceIsDescribedSlotForSlot) {
  int dual = 0;
  for (const InterfaceInfo* table : library_info().interfaces) {
    if (table->kind != InterfaceKind::kDual) continue;
    ++dual;
    const std::string name = narrow(table->name);
    EXPECT_FALSE(table->members.empty()) << name;
    EXPECT_EQ(described_slots(*table), declared_slots(name)) << name;
  }
  EXPECT_EQ(dual, 15);
}

TEST(Tables, IdentitiesIdsAndNamesAreUnique) {
  std::set<GUID> identities{library_info().libid};
  const auto unused = [&](const GUID& id) { return identities.insert(id).second; };
  for (const InterfaceInfo* table : library_info().interfaces) {
    EXPECT_TRUE(unused(table->iid)) << narrow(table->name);
    std::set<DISPID> ids;
    for (const platform::MemberInfo& member : table->members) {
      EXPECT_TRUE(ids.insert(member.id).second) << narrow(table->name) << ' ' << member.id;
      EXPECT_EQ(platform::find_member(*table, std::u16string_view(member.name)), &member);
      EXPECT_NE(*member.help, 0) << narrow(member.name);
    }
  }
  for (const auto* enumeration : library_info().enumerations) {
    EXPECT_TRUE(unused(enumeration->guid)) << narrow(enumeration->name);
  }
  for (const auto* coclass : library_info().coclasses) {
    EXPECT_TRUE(unused(coclass->clsid)) << narrow(coclass->name);
  }
}

DISPID id_of(REFIID iid, std::u16string name) {
  OLECHAR* names = name.data();
  DISPID id = DISPID_UNKNOWN;
  EXPECT_EQ(dispatch_ids_of_names(iid, &names, 1, &id), S_OK);
  return id;
}

const InterfaceInfo* table_named(std::u16string_view name) {
  for (const InterfaceInfo* table : library_info().interfaces) {
    if (name == table->name) return table;
  }
  return nullptr;
}

TEST(Tables, MembersKeepTheirIds) {
  struct Case {
    const char16_t* interface;
    const char16_t* member;
    DISPID id;
  };
  const Case cases[] = {
      {u"IMimeDecoder", u"Item", 0},
      {u"IMimeDecoder", u"COUNT", 100},
      {u"IMimeDecoder", u"from", 7},
      {u"IMimeDecoder", u"BCC", 16},
      {u"IMimeDecoder", u"MessageHeader", 119},
      {u"IMimeDecoder", u"InterpretEmbeddedMails", 114},
      {u"ICollection", u"_NewEnum", -4},
      {u"ICollection", u"Item", 0},
      {u"ICollection", u"Modify", 5},
      {u"ICollection", u"ModifyByID", 9},
      {u"IDialupCollection", u"_NewEnum", -4},
      {u"IDialupCollection", u"Item", 0},
      {u"IReceivedCollection", u"Remove", 3},
      {u"IMailAddress", u"RouteAddress", 4},
      {u"IMimeBody", u"ExtField", 22},
      {u"IMimeBody", u"ContentType", 37},
      {u"IParameterMap", u"Exists", 7},
      {u"IFieldCollection", u"Clear", 4},
      {u"IContentDisposition", u"Parameters", 2},
  };
  for (const Case& wanted : cases) {
    const InterfaceInfo* table = table_named(wanted.interface);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(id_of(table->iid, wanted.member), wanted.id) << narrow(wanted.member);
  }
}

TEST(Tables, ParameterNamesResolveAndUnknownNamesDoNot) {
  std::u16string member = u"ImportFromFile", path = u"path", flag = u"STREAMBYREFERENCE",
                 no = u"No";
  OLECHAR* names[] = {member.data(), path.data(), flag.data()};
  DISPID ids[3] = {};
  EXPECT_EQ(dispatch_ids_of_names(IMimeBody::kIid, names, 3, ids), S_OK);
  EXPECT_EQ(ids[0], 27);
  EXPECT_EQ(ids[1], 0);
  EXPECT_EQ(ids[2], 1);
  names[2] = no.data();
  EXPECT_EQ(dispatch_ids_of_names(IMimeBody::kIid, names, 3, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(ids[2], DISPID_UNKNOWN);
}

TEST(Tables, AnInterfaceThatIsNotOursHasNoTypeInformation) {
  ITypeInfo* info = reinterpret_cast<ITypeInfo*>(1);
  EXPECT_EQ(interface_type_info(IUnknown::kIid, &info), TYPE_E_ELEMENTNOTFOUND);
  EXPECT_EQ(info, nullptr);
}

}  // namespace
}  // namespace tallowbrook
