// Registry scripts: what they add, what they leave when they are undone, and where they are wrong.
#include "platform/com/registrar.h"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/support/scratch_folder.h"

namespace tallowbrook::platform {
namespace {

using test::ScratchRegistry;

constexpr ScriptReplacement kReplacements[] = {{"MODULE", "/it's a\n100% {path}.so"},
                                               {"EMPTY", ""}};

RegistryScript script_of(std::string_view text) {
  RegistryScript script;
  ScriptError error;
  EXPECT_TRUE(script.parse(text, kReplacements, &error)) << error.line << ": " << error.text;
  return script;
}

std::string machine_text() { return read_registry(RegistryRoot::kLocalMachine)->print(); }

enum class Do { kRun, kUndo };

void apply(const RegistryScript& script, Do what, bool per_user = false) {
  RegistryEdit edit;
  ASSERT_EQ(edit.open(script.roots(per_user)), S_OK) << edit.problem();
  if (what == Do::kRun) {
    script.run(edit, per_user);
  } else {
    script.undo(edit, per_user);
  }
  ASSERT_EQ(edit.commit(), S_OK) << edit.problem();
}

void put(const std::string& path, const std::string& name, const std::string& text) {
  constexpr RegistryRoot kRoots[] = {RegistryRoot::kLocalMachine};
  RegistryEdit edit;
  ASSERT_EQ(edit.open(kRoots), S_OK);
  edit.tree(RegistryRoot::kLocalMachine).set(path, name, text);
  ASSERT_EQ(edit.commit(), S_OK);
}

TEST(Registrar, UnderstandsTheWholeSyntax) {
  const ScratchRegistry registry;
  const RegistryScript script = script_of(R"(
hkey_local_machine {
  {B0D2-GUID} = s 'it''s'
  {
    'two words' { FORCEREMOVE 'val' = d 42 }
    Module = s '%MODULE%'   'In' = s '<%module%%EMPTY%>'  Rate = s 100%%
    vAl Hex = d 0xfF
    val 'The list' = m 'one\0\0two'
    VAL Bytes = b 00fF
    NoRemove Kept { Below = S text }
  }
}
HKLM { Second }
)");
  apply(script, Do::kRun);
  EXPECT_EQ(machine_text(), R"(
[Second]

[{B0D2-GUID}]
@="it's"
"Bytes"=hex:00,ff
"Hex"=dword:000000ff
"The list"=list:"one","","two"

[{B0D2-GUID}\In]
@="</it's a\n100% {path}.so>"

[{B0D2-GUID}\Kept\Below]
@="text"

[{B0D2-GUID}\Module]
@="/it's a\n100% {path}.so"

[{B0D2-GUID}\Rate]
@="100%"

[{B0D2-GUID}\two words\val]
@=dword:0000002a
)");
  apply(script, Do::kUndo);
  EXPECT_EQ(machine_text(), "\n[{B0D2-GUID}\\Kept]\n");
  apply(script, Do::kUndo);  // all is gone already
}

TEST(Registrar, KnowsEveryRootByBothNames) {
  const ScratchRegistry registry;
  for (const char* name :
       {"HKCR", "HKCU", "HKLM", "HKU", "HKPD", "HKDD", "HKCC", "HKEY_CLASSES_ROOT",
        "HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_USERS", "HKEY_PERFORMANCE_DATA",
        "HKEY_DYN_DATA", "HKEY_CURRENT_CONFIG"}) {
    const RegistryScript script = script_of(std::string(name) + " { Acme = s 'x' }");
    const RegistryRoot root = script.roots(false).at(0);
    apply(script, Do::kRun);
    EXPECT_NE(read_registry(root)->print().find("Acme"), std::string::npos) << name;
    apply(script, Do::kUndo);
    EXPECT_EQ(read_registry(root)->print(), "") << name;
  }
}

TEST(Registrar, ClassesOfTheUserAreRedirected) {
  const ScratchRegistry registry;
  const RegistryScript script = script_of("HKCR { Acme = s 'x' } HKLM { Other }");
  EXPECT_EQ(script.roots(true),
            (std::vector{RegistryRoot::kCurrentUser, RegistryRoot::kLocalMachine}));
  apply(script, Do::kRun, true);
  EXPECT_EQ(read_registry(RegistryRoot::kCurrentUser)->print(),
            "\n[Software\\Classes\\Acme]\n@=\"x\"\n");
  EXPECT_EQ(machine_text(), "\n[Other]\n");
}

TEST(Registrar, ForceRemoveAndDeleteEmptyAKeyFirst) {
  const ScratchRegistry registry;
  put("Acme\\Old", "", "x");
  put("Gone\\Below", "", "x");
  put("Mine", "Other", "y");
  apply(script_of("HKLM { ForceRemove Acme { New } Delete Gone Delete Never Mine { A } }"),
        Do::kRun);
  EXPECT_EQ(machine_text(), "\n[Acme\\New]\n\n[Mine]\n\"Other\"=\"y\"\n\n[Mine\\A]\n");
}

TEST(Registrar, UndoingLeavesWhatSomebodyElsePutThere) {
  const ScratchRegistry registry;
  const RegistryScript script = script_of(
      "HKLM { Plain = s 'x' { val V = s 'v' Sub = s 'z' } ForceRemove Whole { A } "
      "ForceRemove Half { NoRemove B { C } } D { NoRemove val E = s 'e' } }");
  apply(script, Do::kRun);
  put("Plain\\Foreign", "", "stays");
  put("Whole\\Foreign", "", "goes");
  apply(script, Do::kUndo);
  EXPECT_EQ(machine_text(), "\n[D]\n\"E\"=\"e\"\n\n[Half\\B]\n\n[Plain\\Foreign]\n@=\"stays\"\n");
}

TEST(Registrar, KeysThatEverySystemHasAreNeverRemoved) {
  const ScratchRegistry registry;
  for (const char* name :
       {"AppID", "CLSID", "Component Categories", "FileType", "Interface", "Hardware", "Mime"}) {
    const std::string key = "'" + std::string(name) + "'";
    put("Software\\Classes\\" + std::string(name), "V", "x");
    const RegistryScript script = script_of("HKCR { Delete " + key + " ForceRemove " + key + " }");
    apply(script, Do::kRun);
    apply(script, Do::kUndo);
    EXPECT_TRUE(classes_text(name, "V")) << name;
  }
  // Elsewhere the names are names like others.
  apply(script_of("HKCR { Acme { CLSID } }"), Do::kRun);
  apply(script_of("HKCR { Acme { CLSID } }"), Do::kUndo);
  EXPECT_EQ(machine_text().find("Acme"), std::string::npos);
}

TEST(Registrar, SaysAtWhichLineAScriptIsWrong) {
  const std::tuple<const char*, std::size_t, const char*> cases[] = {
      {"", 1, "empty"},
      {"\n\n", 3, "empty"},
      {"HKXX\n{\n}", 1, "no root key"},
      {"'HKLM' { A }\n}", 2, "no root key"},
      {"HKLM\nA", 2, "behind the root key"},
      {"HKLM\n{\n  A\n", 4, "the end of the script"},
      {"HKLM\n{\n  {\n", 3, "without a key"},
      {"HKLM\n{\n  A { } {\n", 3, "without a key"},
      {"HKLM\n{\n  A\n  val B = s 'x'\n", 4, "needs a key"},
      {"HKLM {\n  A {\n    val B\n  }\n}", 4, "\"=\" is wanted"},
      {"HKLM {\n  A =\n    q 'x' }", 3, "type"},
      {"HKLM {\n  A = s\n}", 3, "a value is wanted"},
      {"HKLM {\n  A = d -1 }", 2, "no number"},
      {"HKLM {\n  A = d 4294967296 }", 2, "no number"},
      {"HKLM {\n  A = b 0 }", 2, "bytes"},
      {"HKLM {\n  A = b 0g }", 2, "bytes"},
      {"HKLM {\n  A = s 'x\n}", 2, "apostrophe"},
      {"HKLM {\n  A = s %NONE%\n}", 2, "nothing stands for %NONE%"},
      {"HKLM {\n  A = s 50%\n}", 2, "percent"},
      {"HKLM {\n  A\\B\n}", 2, "cannot be the name"},
      {"HKLM {\n  ''\n}", 2, "cannot be the name"},
      {"HKLM {\n  NoRemove Delete A\n}", 2, "Delete stands alone"},
      {"HKLM {\n A {\n  ForceRemove val B = s 'x' } }", 3, "ForceRemove is for keys"},
      {"HKLM {\n  Delete A {\n} }", 2, "without a key"},
      {"HKLM { A } }", 1, "no root key"},
  };
  for (const auto& [text, line, reason] : cases) {
    RegistryScript script;
    ScriptError error;
    EXPECT_FALSE(script.parse(text, kReplacements, &error)) << text;
    EXPECT_EQ(error.line, line) << text << ": " << error.text;
    EXPECT_NE(error.text.find(reason), std::string::npos) << text << ": " << error.text;
    EXPECT_TRUE(script.roots(false).empty()) << "nothing of a wrong script is run";
  }
  std::string deep = "HKLM { ";
  for (int at = 0; at < 100'000; ++at) deep += "a { ";
  RegistryScript script;
  ScriptError error;
  EXPECT_FALSE(script.parse(deep, {}, &error));
  EXPECT_NE(error.text.find("too deep"), std::string::npos) << error.text;
}

}  // namespace
}  // namespace tallowbrook::platform
