// The commands register, unregister and typelib, run as users run them.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/cli/program.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::cli {
namespace {

using test::read_file;
using test::ScratchRegistry;

TEST(RegistrationCommands, RegisterForTheMachineAndForTheUser) {
  const ScratchRegistry registry;
  EXPECT_EQ(run_with_errors("typelib --registered").status, 3);
  const Outcome done = run_with_errors("register");
  EXPECT_EQ(done.status, 0) << done.text;
  EXPECT_EQ(count(read_file(registry.machine()), "\"ThreadingModel\"=\"Both\""), 14U);
  EXPECT_EQ(read_file(registry.user()), "");
  EXPECT_EQ(run_with_errors("typelib --registered").text, run_with_errors("typelib").text);
  EXPECT_EQ(run_with_errors("register --user").status, 0);
  EXPECT_EQ(run_with_errors("unregister").status, 0);
  EXPECT_EQ(read_file(registry.machine()), "");
  EXPECT_EQ(count(read_file(registry.user()), "\"ThreadingModel\"=\"Both\""), 14U);
  EXPECT_EQ(run_with_errors("unregister --user").status, 0);
  EXPECT_EQ(read_file(registry.user()), "");
}

TEST(RegistrationCommands, TellWhatStandsInTheWay) {
  const ScratchRegistry registry;
  test::write_file(registry.machine(), "nonsense\n");
  const Outcome refused = run_with_errors("register");
  EXPECT_EQ(refused.status, 3);
  EXPECT_NE(refused.text.find(registry.machine() + ":1: "), std::string::npos) << refused.text;
  const Outcome missing = run_with_errors("register /nowhere/at-all.so");
  EXPECT_EQ(missing.status, 3);
  EXPECT_EQ(count(missing.text, "/nowhere/at-all.so"), 1U) << missing.text;
  const Outcome foreign = run_with_errors("typelib " + registry.machine());
  EXPECT_EQ(foreign.status, 3);
  EXPECT_EQ(count(foreign.text, registry.machine() + ": "), 1U) << foreign.text;
  EXPECT_EQ(run_with_errors("typelib --registered file").status, 2);
}

TEST(TypelibCommand, PrintsTheWholeLibrary) {
  const std::string printed = run("typelib").text;
  for (const char* piece : {
           "library TALLOWBROOKLib {\n    ",
           "    typedef enum EncoderTypes {\n        [helpstring(\"7bit\")]\n        SevenBit = 0,",
           "        [id(0x00000011), propput, helpstring(\"Subject\")]\n"
           "        HRESULT Subject([in] VARIANT newVal);\n",
           "HRESULT ConnectSMTP([in] BSTR strServer, [in, defaultvalue(25)] long nPort, "
           "[out, retval] VARIANT_BOOL* pVal);\n",
           "void OnError([in] BSTR strHint, [in] long Line);\n",
           "        [default] interface IMimeDecoder;\n"
           "        [default, source] dispinterface _IMimeDecoderEvents;\n",
       }) {
    EXPECT_NE(printed.find(piece), std::string::npos) << piece;
  }
  EXPECT_EQ(count(printed, "    coclass "), 14U);
  EXPECT_EQ(count(printed, "typedef enum "), 9U);
  EXPECT_EQ(count(printed, "{"), count(printed, "}"));
}

TEST(TypelibCommand, PrintsTheSameForPrograms) {
  const auto library = nlohmann::json::parse(run_with_errors("typelib --json").text);
  EXPECT_EQ(library["name"], "TALLOWBROOKLib");
  std::size_t members = 0;
  for (const auto& type : library["types"]) {
    if (type.contains("members")) members += type["members"].size();
    if (type["name"] != "IMimeBody") continue;
    const auto& members_of_body = type["members"];
    const auto import = std::find_if(members_of_body.begin(), members_of_body.end(),
                                     [](const auto& member) { return member["name"] == "Import"; });
    ASSERT_NE(import, members_of_body.end());
    EXPECT_EQ((*import)["parameters"][1]["default"], "0");
    EXPECT_EQ((*import)["result"], "VARIANT_BOOL");
  }
  EXPECT_EQ(members, count(run_with_errors("typelib").text, "[id("));
}

}  // namespace
}  // namespace tallowbrook::cli
