// The registry's text form, its files, and what processes do to it at the same time.
#include "platform/com/registry.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <string>

#include "platform/com/identity.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::platform {
namespace {

using test::read_file;
using test::ScratchRegistry;
using test::write_file;

constexpr RegistryRoot kMachine[] = {RegistryRoot::kLocalMachine};
constexpr RegistryRoot kUser[] = {RegistryRoot::kCurrentUser};

std::string text_at(const RegistryTree& tree, std::string_view path, std::string_view name = {}) {
  const RegistryValue* const value = tree.value(path, name);
  return value == nullptr ? "(none)" : value->text;
}

TEST(RegistryTree, GoesThroughTextWithEveryTypeOfValue) {
  RegistryTree tree;
  tree.set("Software\\Acme", "", std::string("a \"quoted\" \\ text\n\x01\xC3\xA4\x7F"));
  tree.set("Software\\Acme", "Number", std::uint32_t{0xFFFFFFFE});
  tree.set("Software\\Acme", "List", std::vector<std::string>{"one", "", "t,w\"o"});
  tree.set("Software\\Acme", "No list", std::vector<std::string>{});
  tree.set("Software\\Acme\\[x]", "Bytes", std::vector<std::uint8_t>{0, 0xFF});
  tree.add_key("Software\\Acme\\Empty");
  const std::string text = tree.print();
  EXPECT_EQ(text,
            "\n[Software\\Acme]\n"
            "@=\"a \\\"quoted\\\" \\\\ text\\n\\x01\xC3\xA4\\x7f\"\n"
            "\"List\"=list:\"one\",\"\",\"t,w\\\"o\"\n"
            "\"No list\"=list:\n"
            "\"Number\"=dword:fffffffe\n"
            "\n[Software\\Acme\\[x]]\n"
            "\"Bytes\"=hex:00,ff\n"
            "\n[Software\\Acme\\Empty]\n");
  std::size_t bad_line = 1;
  EXPECT_EQ(RegistryTree::parse(text, &bad_line).print(), text);
  EXPECT_EQ(bad_line, 0U);
}

TEST(RegistryTree, NamesTheFirstLineThatCannotBeUnderstoodAndKeepsTheRest) {
  const std::pair<std::string_view, std::size_t> cases[] = {
      {"; comment\r\n\r\n[A]\r\n@=\"x\"\r\n", 0},
      {"@=\"x\"\n[A]\n", 1},
      {"[A]\n[B\n[C]\n", 2},
      {"[A]\n[]\n", 2},
      {"[A]\n[A\\\\B]\n", 2},
      {"[A]\n@=\"x\n", 2},
      {"[A]\n@=\"x\\\n", 2},
      {"[A]\n@=\"x\\q\"\n", 2},
      {"[A]\n@=\"x\" \n", 2},
      {"[A]\nName=\"x\"\n", 2},
      {"[A]\n\"N\"=dword:12\n", 2},
      {"[A]\n\"N\"=dword:1234567g\n", 2},
      {"[A]\n\"N\"=hex:00,1\n", 2},
      {"[A]\n\"N\"=list:\"a\" \"b\"\n", 2},
      {"[A]\n\"N\"=\n\"M\"=\"fine\"\n", 2},
  };
  for (const auto& [text, line] : cases) {
    std::size_t bad_line = 99;
    const RegistryTree tree = RegistryTree::parse(text, &bad_line);
    EXPECT_EQ(bad_line, line) << text;
    EXPECT_EQ(tree.has_key("a"), line != 1 || !text.starts_with("[A]"));
  }
  // Every name on the way is a key of its own: depth is bounded, so that a line costs what it
  // weighs.
  std::string deep = "[";
  for (int at = 0; at < 500'000; ++at) deep += "A\\";
  std::size_t bad_line = 0;
  EXPECT_EQ(RegistryTree::parse(deep + "A]\n[B]\n", &bad_line).print(), "\n[B]\n");
  EXPECT_EQ(bad_line, 1U);
}

TEST(RegistryTree, FindsListsAndRemovesWithoutRegardToCase) {
  RegistryTree tree;
  for (const char* path : {"a\\b\\c", "A\\B-side", "A\\b x", "a\\B\\D", "ab"}) tree.add_key(path);
  tree.set("A\\b", "Name", std::string("x"));
  tree.set("a\\B", "NAME", std::string("y"));
  EXPECT_EQ(text_at(tree, "A\\B", "name"), "y");
  EXPECT_EQ(tree.subkeys("A"), (std::vector<std::string>{"b", "b x", "B-side"}));
  EXPECT_EQ(tree.subkeys("a\\b"), (std::vector<std::string>{"c", "D"}));
  tree.remove_empty_key("a\\b");
  EXPECT_TRUE(tree.has_key("a\\b\\c"));
  tree.remove_key("A\\B");
  EXPECT_FALSE(tree.has_key("a\\b"));
  EXPECT_FALSE(tree.has_key("a\\b\\c"));
  EXPECT_EQ(tree.subkeys("a"), (std::vector<std::string>{"b x", "B-side"}));
  EXPECT_TRUE(tree.has_key("ab"));
}

HRESULT set_value(std::span<const RegistryRoot> roots, const std::string& path,
                  const std::string& text) {
  RegistryEdit edit;
  if (const HRESULT status = edit.open(roots); FAILED(status)) return status;
  edit.tree(roots[0]).set(path, {}, text);
  return edit.commit();
}

TEST(Registry, UserGoesBeforeMachineAndChangesAreSeenAtOnce) {
  const ScratchRegistry registry;
  EXPECT_FALSE(classes_text("Acme"));
  ASSERT_EQ(set_value(kMachine, "Software\\Classes\\Acme", "machine"), S_OK);
  EXPECT_EQ(classes_text("ACME"), "machine");
  ASSERT_EQ(set_value(kUser, "Software\\Classes\\Acme", "user"), S_OK);
  EXPECT_EQ(classes_text("acme"), "user");
  write_file(registry.user(), "[Software\\Classes\\Acme]\n@=\"by hand\"\n");
  EXPECT_EQ(classes_text("acme"), "by hand");
  ASSERT_EQ(::unlink(registry.user().c_str()), 0);
  EXPECT_EQ(classes_text("acme"), "machine");
  struct stat state {};
  ASSERT_EQ(::stat(registry.machine().c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 0777, 0644U) << "every user reads the machine's";
}

TEST(Registry, AFileThatCannotBeUnderstoodIsReadAsFarAsItGoesAndNotOverwritten) {
  const ScratchRegistry registry;
  const std::string text = "[Software\\Classes\\Acme]\n@=\"x\"\nnonsense\n";
  write_file(registry.machine(), text);
  EXPECT_EQ(classes_text("Acme"), "x");
  RegistryEdit edit;
  EXPECT_EQ(edit.open(kMachine), REGDB_E_READREGDB);
  EXPECT_NE(edit.problem().find(":3: "), std::string::npos) << edit.problem();
  EXPECT_EQ(read_file(registry.machine()), text);
}

TEST(Registry, AFolderThatCannotBeMadeIsTold) {
  const ScratchRegistry registry;
  write_file(registry.folder().file("machine"), "a file");
  RegistryEdit edit;
  EXPECT_TRUE(FAILED(edit.open(kMachine)));
  EXPECT_NE(edit.problem().find("machine"), std::string::npos);
}

TEST(Registry, ProcessesThatChangeItAtOnceLoseNothing) {
  const ScratchRegistry registry;
  constexpr int kProcesses = 4;
  constexpr int kEach = 25;
  std::vector<pid_t> children;
  for (int process = 0; process < kProcesses; ++process) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    for (int at = 0; child == 0 && at < kEach; ++at) {
      const std::string name = std::to_string(process) + "-" + std::to_string(at);
      if (FAILED(set_value(kMachine, "Software\\" + name, "x"))) ::_exit(1);
    }
    if (child == 0) ::_exit(0);
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  const auto tree = read_registry(RegistryRoot::kLocalMachine);
  EXPECT_EQ(tree->subkeys("Software").size(), std::size_t{kProcesses * kEach});
}

// Writes one of two contents after the other, each with as many keys as a component registers.
[[noreturn]] void rewrite_for_ever() {
  for (int round = 0;; ++round) {
    RegistryEdit edit;
    if (FAILED(edit.open(kMachine))) ::_exit(1);
    for (int key = 0; key < 200; ++key) {
      edit.tree(RegistryRoot::kLocalMachine)
          .set("Software\\Key" + std::to_string(key), {}, std::string(round % 2 == 0 ? "a" : "b"));
    }
    if (FAILED(edit.commit())) ::_exit(1);
  }
}

TEST(Registry, IsNeverHalfWrittenWhenTheWriterIsKilled) {
  const ScratchRegistry registry;
  std::mt19937 random(20260501);
  std::uniform_int_distribution<useconds_t> pause(0, 6000);
  int seen_whole = 0;
  for (int kill_number = 0; kill_number < 200; ++kill_number) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) rewrite_for_ever();
    ::usleep(pause(random));
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed by itself";

    const std::string text = read_file(registry.machine());
    if (text.empty()) continue;  // killed before the first file was there
    std::size_t bad_line = 0;
    const RegistryTree tree = RegistryTree::parse(text, &bad_line);
    ASSERT_EQ(bad_line, 0U);
    ASSERT_EQ(tree.subkeys("Software").size(), 200U);
    const std::string first = text_at(tree, "Software\\Key0");
    for (int key = 0; key < 200; ++key) {
      ASSERT_EQ(text_at(tree, "Software\\Key" + std::to_string(key)), first);
    }
    ++seen_whole;
  }
  EXPECT_GT(seen_whole, 100);
  write_file(registry.machine() + ".new", "half");
  EXPECT_EQ(set_value(kMachine, "Software\\Key0", "a"), S_OK) << "no lock is left behind";
  EXPECT_NE(::access((registry.machine() + ".new").c_str(), F_OK), 0);
}

}  // namespace
}  // namespace tallowbrook::platform
