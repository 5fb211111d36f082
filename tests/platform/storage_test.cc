#include "platform/storage/storage.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/com/activation.h"
#include "platform/storage/file_time.h"
#include "platform/storage/folder_names.h"
#include "tests/support/element_names.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::platform {
namespace {

using test::Names;
using test::names;

constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;

std::u16string wide(const std::string& path) { return std::filesystem::path(path).u16string(); }

// In memory without a path.
ComPtr<IStorage> create(const std::string& path = {}, DWORD mode = kWrite) {
  ComPtr<IStorage> storage;
  const std::u16string name = wide(path);
  EXPECT_EQ(StgCreateDocfile(path.empty() ? nullptr : name.c_str(), mode, 0, storage.out()), S_OK);
  return storage;
}
ComPtr<IStorage> open(const std::string& path, DWORD mode = kWrite) {
  ComPtr<IStorage> storage;
  EXPECT_EQ(StgOpenStorage(wide(path).c_str(), nullptr, mode, nullptr, 0, storage.out()), S_OK);
  return storage;
}
ComPtr<IStream> create_stream(IStorage& in, const OLECHAR* name, std::string_view text,
                              DWORD mode = kWrite) {
  ComPtr<IStream> stream;
  EXPECT_EQ(in.CreateStream(name, mode, 0, 0, stream.out()), S_OK);
  EXPECT_EQ(stream->Write(text.data(), static_cast<ULONG>(text.size()), nullptr), S_OK);
  return stream;
}
ComPtr<IStorage> create_storage(IStorage& in, const OLECHAR* name, DWORD mode = kWrite) {
  ComPtr<IStorage> storage;
  EXPECT_EQ(in.CreateStorage(name, mode, 0, 0, storage.out()), S_OK);
  return storage;
}
ComPtr<IStorage> open_storage(IStorage& in, const OLECHAR* name, DWORD mode = kWrite) {
  ComPtr<IStorage> storage;
  EXPECT_EQ(in.OpenStorage(name, nullptr, mode, nullptr, 0, storage.out()), S_OK);
  return storage;
}

std::string rest_of(IStream& stream) {
  std::string all;
  char block[1000];
  ULONG got = 0;
  while (stream.Read(block, sizeof(block), &got) == S_OK && got > 0) all.append(block, got);
  return all;
}
std::string text_of(IStorage& in, const OLECHAR* name) {
  ComPtr<IStream> stream;
  const HRESULT status = in.OpenStream(name, nullptr, kRead, 0, stream.out());
  return status == S_OK ? rest_of(*stream) : status == STG_E_FILENOTFOUND ? "(none)" : "(?)";
}

// What holds for a storage in memory and for one in a folder.
class EveryStorage : public ::testing::TestWithParam<const char*> {
 protected:
  [[nodiscard]] bool in_memory() const { return GetParam() == std::string("memory"); }
  [[nodiscard]] ComPtr<IStorage> fresh() const { return create(in_memory() ? "" : path_); }
  // Files of the folder's own beside its mark.
  [[nodiscard]] int leftovers() const {
    int count = 0;
    if (in_memory()) return count;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      const std::string name = entry.path().filename();
      count += name[0] == '.' && name != ".storage";
    }
    return count;
  }

  const test::ScratchFolder scratch_;
  const std::string path_ = scratch_.file("s");
};
INSTANTIATE_TEST_SUITE_P(Kinds, EveryStorage, ::testing::Values("memory", "folder"),
                         [](const auto& kind) { return std::string(kind.param); });

TEST_P(EveryStorage, AnElementTakesItsPlaceWhenItIsCommittedOrReleased) {
  const auto storage = fresh();
  auto stream = create_stream(*storage, u"a", "one");
  EXPECT_EQ(names(*storage), Names{});
  EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(text_of(*storage, u"a"), "one");
  EXPECT_EQ(stream->Write("two", 3, nullptr), S_OK);
  EXPECT_EQ(text_of(*storage, u"a"), "one");
  EXPECT_EQ(storage->Commit(STGC_DEFAULT), S_OK);  // takes along what is open
  EXPECT_EQ(text_of(*storage, u"a"), "onetwo");
  EXPECT_EQ(stream->Write("three", 5, nullptr), S_OK);
  EXPECT_EQ(stream->Revert(), S_OK);
  stream.reset();
  EXPECT_EQ(text_of(*storage, u"a"), "onetwo");

  auto dropped = create_stream(*storage, u"b", "never");
  dropped->Revert();
  dropped.reset();
  auto inner = create_storage(*storage, u"c");
  create_stream(*inner, u"x", "in c");
  EXPECT_EQ(names(*storage), Names{u"a"});
  EXPECT_EQ(inner->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(names(*storage), (Names{u"a", u"c/"}));
  auto deep = create_storage(*inner, u"deep");
  auto deepest = create_storage(*deep, u"deepest");
  const auto held = create_stream(*deepest, u"y", "deep down");
  EXPECT_EQ(storage->Commit(STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE), S_OK);
  const auto again =
      open_storage(*open_storage(*open_storage(*storage, u"c"), u"deep"), u"deepest");
  EXPECT_EQ(text_of(*again, u"y"), "deep down");
  auto lost = create_storage(*storage, u"lost");
  create_stream(*lost, u"z", "z");
  EXPECT_EQ(lost->Revert(), S_OK);
  lost.reset();
  EXPECT_EQ(names(*storage), (Names{u"a", u"c/"}));
}

TEST_P(EveryStorage, ReplacesWholeElementsOfEitherKind) {
  const auto storage = fresh();
  create_stream(*storage, u"a", "old");
  ComPtr<IStream> stream;
  ComPtr<IStorage> inner;
  EXPECT_EQ(storage->CreateStream(u"a", kWrite, 0, 0, stream.out()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(storage->CreateStorage(u"a", kWrite, 0, 0, inner.out()), STG_E_FILEALREADYEXISTS);
  ComPtr<IStream> reader;
  EXPECT_EQ(storage->OpenStream(u"a", nullptr, kRead, 0, reader.out()), S_OK);

  inner = create_storage(*storage, u"a", kWrite | STGM_CREATE);
  create_stream(*inner, u"x", "x");
  EXPECT_EQ(text_of(*storage, u"a"), "old");
  inner.reset();
  EXPECT_EQ(names(*storage), Names{u"a/"});
  EXPECT_EQ(text_of(*storage, u"a"), "(none)");
  EXPECT_EQ(rest_of(*reader), "old");  // who has it keeps it

  auto holder = open_storage(*storage, u"a", kRead);
  create_stream(*create_storage(*open_storage(*storage, u"a"), u"deep"), u"y", "y");
  auto deep = open_storage(*holder, u"deep", kRead);
  inner = create_storage(*storage, u"a", kWrite | STGM_CREATE);
  inner.reset();
  EXPECT_EQ(names(*open_storage(*storage, u"a")), Names{});
  EXPECT_EQ(text_of(*holder, u"x"), "x");  // of a storage, too
  EXPECT_EQ(names(*holder), (Names{u"deep/", u"x"}));
  create_stream(*storage, u"a", "new", kWrite | STGM_CREATE);
  holder.reset();
  EXPECT_EQ(text_of(*deep, u"y"), "y");
  deep.reset();
  EXPECT_EQ(leftovers(), 0);
  EXPECT_EQ(text_of(*storage, u"a"), "new");
  EXPECT_EQ(storage->OpenStorage(u"a", nullptr, kRead, nullptr, 0, inner.out()),
            STG_E_FILENOTFOUND);
  // Of two that want one new name the first gets it.
  auto first = create_stream(*storage, u"b", "first");
  auto second = create_stream(*storage, u"b", "second");
  EXPECT_EQ(first->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(second->Commit(STGC_DEFAULT), STG_E_FILEALREADYEXISTS);
  second.reset();
  EXPECT_EQ(text_of(*storage, u"b"), "first");
}

TEST_P(EveryStorage, ListsInTheOrderOfNames) {
  const auto storage = fresh();
  const Names all = {u"%41", u"/etc/passwd", u"0000000002", u"0000000010", u"A B",
                     u"a",   u"a.b",         u"b\xD800",    u"\xE4",       u"\x20AC\xD83D\xDE00"};
  Names sorted;
  for (auto name = all.rbegin(); name != all.rend(); ++name) {
    create_stream(*storage, name->c_str(), "text");
    sorted.push_back(*name);
  }
  for (const OLECHAR* name : {u"..", u".", u".storage", u"\x05x"}) {
    create_stream(*create_storage(*storage, name), name, "text");
    sorted.push_back(std::u16string(name) + u"/");
  }
  std::ranges::sort(sorted, {}, [](const std::u16string& shown) {
    return shown.ends_with(u'/') ? shown.substr(0, shown.size() - 1) : shown;
  });
  EXPECT_EQ(names(*storage), sorted);
  for (const std::u16string& name : all) EXPECT_EQ(text_of(*storage, name.c_str()), "text");

  const std::u16string longest(31, u'\x20AC');
  create_stream(*storage, longest.c_str(), "long");
  EXPECT_EQ(text_of(*storage, longest.c_str()), "long");
  ComPtr<IStream> stream;
  for (const std::u16string& bad : {std::u16string(), longest + u"x"}) {
    EXPECT_EQ(storage->CreateStream(bad.c_str(), kWrite, 0, 0, stream.out()), STG_E_INVALIDNAME);
  }
  EXPECT_EQ(storage->CreateStream(nullptr, kWrite, 0, 0, stream.out()), STG_E_INVALIDNAME);
}

TEST_P(EveryStorage, WalksItsElements) {
  const auto storage = fresh();
  for (const OLECHAR* name : {u"a", u"b", u"c", u"d"}) create_stream(*storage, name, "12345");
  ComPtr<IEnumSTATSTG> list;
  ASSERT_EQ(storage->EnumElements(0, nullptr, 0, list.out()), S_OK);
  STATSTG got[4];
  ULONG fetched = 9;
  const auto next = [&](ULONG wanted) {
    Names all;
    static_cast<void>(list->Next(wanted, got, &fetched));
    for (ULONG i = 0; i < fetched; ++i) {
      all.emplace_back(got[i].pwcsName);
      EXPECT_EQ(got[i].cbSize.QuadPart, 5u);
      CoTaskMemFree(got[i].pwcsName);
    }
    return all;
  };
  EXPECT_EQ(list->Next(2, got, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(next(2), (Names{u"a", u"b"}));
  ComPtr<IEnumSTATSTG> twin;
  EXPECT_EQ(list->Clone(twin.out()), S_OK);
  EXPECT_EQ(storage->DestroyElement(u"c"), S_OK);
  create_stream(*storage, u"e", "12345");
  EXPECT_EQ(next(4), Names{u"d"});  // what is gone is passed over
  EXPECT_EQ(twin->Skip(2), S_OK);
  EXPECT_EQ(twin->Skip(1), S_FALSE);
  EXPECT_EQ(list->Reset(), S_OK);
  EXPECT_EQ(next(9), (Names{u"a", u"b", u"d", u"e"}));
}

TEST_P(EveryStorage, RemovesRenamesCopiesAndMoves) {
  const auto storage = fresh();
  create_stream(*storage, u"a", "text");
  auto inner = create_storage(*storage, u"in");
  const CLSID clsid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  EXPECT_EQ(inner->SetClass(clsid), S_OK);
  EXPECT_EQ(inner->SetStateBits(0xFFFF, 0xF0F0), S_OK);
  create_stream(*inner, u"x", "inner");
  inner.reset();
  EXPECT_EQ(storage->RenameElement(u"a", u"in"), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(storage->RenameElement(u"none", u"b"), STG_E_FILENOTFOUND);
  EXPECT_EQ(storage->RenameElement(u"a", u"b"), S_OK);
  EXPECT_EQ(storage->RenameElement(u"in", u"inside"), S_OK);
  EXPECT_EQ(names(*storage), (Names{u"b", u"inside/"}));

  for (const std::string& path : {std::string(), scratch_.file("copy")}) {
    const auto copy = create(path);
    create_stream(*copy, u"b", "is replaced");
    create_stream(*create_storage(*copy, u"inside"), u"kept", "kept");
    EXPECT_EQ(storage->CopyTo(0, nullptr, nullptr, copy.get()), S_OK);
    EXPECT_EQ(names(*copy), (Names{u"b", u"inside/"}));
    EXPECT_EQ(text_of(*copy, u"b"), "text");
    const auto inside = open_storage(*copy, u"inside", kRead);
    EXPECT_EQ(names(*inside), (Names{u"kept", u"x"}));
    STATSTG stat{};
    EXPECT_EQ(inside->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_TRUE(stat.clsid == clsid);
    EXPECT_EQ(stat.grfStateBits, 0xF0F0u);

    const auto some = create();
    OLECHAR b[] = u"b";
    OLECHAR* excluded[] = {b, nullptr};
    EXPECT_EQ(storage->CopyTo(1, &IStorage::kIid, excluded, some.get()), S_OK);
    EXPECT_EQ(names(*some), Names{});
    EXPECT_EQ(storage->MoveElementTo(u"inside", some.get(), u"moved", STGMOVE_COPY), S_OK);
    EXPECT_EQ(text_of(*open_storage(*some, u"moved"), u"x"), "inner");
  }
  const auto target = create_storage(*storage, u"target");
  EXPECT_EQ(target->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(storage->MoveElementTo(u"target", target.get(), u"self", STGMOVE_MOVE),
            STG_E_ACCESSDENIED);
  EXPECT_EQ(storage->MoveElementTo(u"inside", target.get(), u"there", STGMOVE_MOVE), S_OK);
  EXPECT_EQ(storage->CopyTo(0, nullptr, nullptr, target.get()), S_OK);  // into itself: once
  EXPECT_EQ(names(*storage), (Names{u"b", u"target/"}));
  EXPECT_EQ(names(*target), (Names{u"b", u"target/", u"there/"}));
  EXPECT_EQ(storage->DestroyElement(u"target"), S_OK);
  EXPECT_EQ(storage->DestroyElement(u"target"), STG_E_FILENOTFOUND);
  EXPECT_EQ(storage->DestroyElement(u"b"), S_OK);
  EXPECT_EQ(names(*storage), Names{});
  // A storage that is gone is harmless to who still has it.
  ComPtr<IStream> stream;
  if (SUCCEEDED(target->CreateStream(u"late", kWrite, 0, 0, stream.out()))) {
    static_cast<void>(stream->Commit(STGC_DEFAULT));
  }
  EXPECT_EQ(names(*storage), Names{});
}

TEST_P(EveryStorage, StreamsReadWriteAndSeek) {
  const auto storage = fresh();
  auto stream = create_stream(*storage, u"s", "0123456789");
  ULARGE_INTEGER at{};
  EXPECT_EQ(stream->Seek({-3}, STREAM_SEEK_END, &at), S_OK);
  EXPECT_EQ(at.QuadPart, 7u);
  EXPECT_EQ(rest_of(*stream), "789");
  EXPECT_EQ(stream->Seek({-11}, STREAM_SEEK_CUR, &at), STG_E_INVALIDFUNCTION);
  stream->Seek({12}, STREAM_SEEK_SET, nullptr);
  EXPECT_EQ(stream->Write("x", 1, nullptr), S_OK);
  ComPtr<IStream> clone;
  EXPECT_EQ(stream->Clone(clone.out()), S_OK);
  clone->Seek({8}, STREAM_SEEK_SET, nullptr);
  EXPECT_EQ(rest_of(*clone), std::string("89\0\0x", 5));
  EXPECT_EQ(stream->SetSize({4}), S_OK);
  clone->Seek({0}, STREAM_SEEK_SET, nullptr);
  const auto copy = create_stream(*storage, u"copy", "");
  ULARGE_INTEGER read{};
  ULARGE_INTEGER written{};
  EXPECT_EQ(clone->CopyTo(copy.get(), {3}, &read, &written), S_OK);
  EXPECT_EQ(written.QuadPart, 3u);
  EXPECT_EQ(clone->CopyTo(copy.get(), {~ULONGLONG{0}}, &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 1u);
  copy->Commit(STGC_DEFAULT);
  EXPECT_EQ(text_of(*storage, u"copy"), "0123");
  EXPECT_EQ(stream->SetSize({~ULONGLONG{0}}), STG_E_MEDIUMFULL);
  stream->Seek({LONGLONG{1} << 60}, STREAM_SEEK_SET, nullptr);
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_MEDIUMFULL);
  STATSTG stat{};
  EXPECT_EQ(stream->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(std::u16string(stat.pwcsName), u"s");
  EXPECT_EQ(stat.cbSize.QuadPart, 4u);
  CoTaskMemFree(stat.pwcsName);
}

TEST_P(EveryStorage, KeepsToItsModes) {
  const auto storage = fresh();
  create_stream(*storage, u"s", "text");
  create_storage(*storage, u"in");
  ComPtr<IStream> stream;
  EXPECT_EQ(storage->OpenStream(u"s", nullptr, kRead, 0, stream.out()), S_OK);
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
  EXPECT_EQ(stream->SetSize({0}), STG_E_ACCESSDENIED);
  EXPECT_EQ(storage->OpenStream(u"s", nullptr, STGM_WRITE, 0, stream.out()), S_OK);
  char byte = 0;
  EXPECT_EQ(stream->Read(&byte, 1, nullptr), STG_E_ACCESSDENIED);
  const auto inner = open_storage(*storage, u"in", kRead);
  EXPECT_EQ(inner->CreateStream(u"x", kWrite, 0, 0, stream.out()), STG_E_ACCESSDENIED);
  EXPECT_EQ(inner->SetClass(GUID_NULL), STG_E_ACCESSDENIED);
  EXPECT_EQ(inner->DestroyElement(u"x"), STG_E_ACCESSDENIED);
  EXPECT_EQ(inner->OpenStream(u"x", nullptr, kWrite, 0, stream.out()), STG_E_ACCESSDENIED);
  EXPECT_EQ(inner->OpenStream(u"x", nullptr, kRead, 0, stream.out()), STG_E_FILENOTFOUND);
  for (const DWORD mode : {STGM_TRANSACTED, DWORD{3}, DWORD{0x20000}}) {
    EXPECT_EQ(storage->CreateStream(u"t", mode, 0, 0, stream.out()), STG_E_INVALIDFLAG);
  }
}

TEST_P(EveryStorage, KeepsTimes) {
  const auto storage = fresh();
  create_stream(*storage, u"s", "text");
  const FILETIME wanted = file_time({1000000000, 5000});
  EXPECT_EQ(storage->SetElementTimes(u"none", nullptr, nullptr, &wanted), STG_E_FILENOTFOUND);
  for (const OLECHAR* element : {u"s", static_cast<const OLECHAR*>(nullptr)}) {
    EXPECT_EQ(storage->SetElementTimes(element, nullptr, nullptr, &wanted), S_OK);
  }
  ComPtr<IEnumSTATSTG> list;
  EXPECT_EQ(storage->EnumElements(0, nullptr, 0, list.out()), S_OK);
  STATSTG stream{};
  STATSTG whole{};
  EXPECT_EQ(list->Next(1, &stream, nullptr), S_OK);
  CoTaskMemFree(stream.pwcsName);
  EXPECT_EQ(storage->Stat(&whole, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(unix_time(whole.mtime).tv_sec, 1000000000);
  EXPECT_EQ(unix_time(stream.mtime).tv_sec, 1000000000);
  EXPECT_EQ(unix_time(stream.mtime).tv_nsec, 5000);
}

TEST(MemoryStorage, MayBeNestedWithoutEnd) {
  const auto root = create();
  auto storage = root;
  for (int i = 0; i < 100000; ++i) {
    auto inner = create_storage(*storage, u"in");
    ASSERT_EQ(inner->Commit(STGC_DEFAULT), S_OK);
    storage = std::move(inner);
  }
}

// --- folders -------------------------------------------------------------------------------------

TEST(FolderStorage, FileNamesAreSafeAndOneToAnElement) {
  const struct {
    std::u16string element;
    std::string file;
  } cases[] = {
      {u"0000000001", "0000000001"},
      {u"A-b_c d.e", "A-b_c d.e"},
      {u".", "%2E"},
      {u"..", "%2E."},
      {u"a/b\\c", "a%2Fb%5Cc"},
      {u"%", "%25"},
      {u"\xE4\x20AC", "\xC3\xA4\xE2\x82\xAC"},
      {u"\xD800x", "%uD800x"},
      {u"\x05", "%05"},
      {u"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(file_name_of(one.element), one.file);
    EXPECT_EQ(element_name_of(one.file), one.element);
  }
  for (const char* stranger : {"%41", "%2f", "%", "%u12", "%uD83D%uDE00", "a~", ".x", "\xFF", "",
                               "%00", "0123456789012345678901234567890X"}) {
    EXPECT_EQ(element_name_of(stranger), u"") << stranger;
  }
}

TEST(FolderStorage, TouchesNothingThatIsNotItsOwn) {
  const test::ScratchFolder scratch;
  const std::filesystem::path path = scratch.file("s");
  const std::string precious = scratch.file("other/precious");
  const std::string file = scratch.file("file");
  test::write_file(precious, "keep");
  test::write_file(file, "keep");
  ComPtr<IStorage> storage;
  for (const std::string& taken : {scratch.file("other"), file}) {
    const std::u16string name = wide(taken);
    EXPECT_EQ(StgCreateDocfile(name.c_str(), kWrite | STGM_CREATE, 0, storage.out()),
              STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(StgOpenStorage(name.c_str(), nullptr, kRead, nullptr, 0, storage.out()),
              STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(StgIsStorageFile(name.c_str()), S_FALSE);
  }
  EXPECT_EQ(StgIsStorageFile(wide(scratch.file("none")).c_str()), STG_E_FILENOTFOUND);
  EXPECT_EQ(StgCreateDocfile(wide(scratch.file("no/way")).c_str(), kWrite, 0, storage.out()),
            STG_E_PATHNOTFOUND);
  storage = create(path);
  EXPECT_EQ(StgIsStorageFile(path.u16string().c_str()), S_OK);
  std::filesystem::create_directory_symlink(scratch.file("other"), path / "link");
  std::filesystem::create_symlink(file, path / "alias");
  std::ofstream(path / "%41") << "a stranger";
  ASSERT_EQ(::mkfifo((path / "pipe").c_str(), 0600), 0);
  create_stream(*storage, u"own", "own");
  EXPECT_EQ(names(*storage), Names{u"own"});
  for (const OLECHAR* name : {u"link", u"alias", u"pipe"}) {
    EXPECT_NE(text_of(*storage, name), "keep");
    ComPtr<IStorage> inner;
    EXPECT_NE(storage->OpenStorage(name, nullptr, kRead, nullptr, 0, inner.out()), S_OK);
  }
  // Replacing a storage takes links away, and not what they point at.
  storage = create(path, kWrite | STGM_CREATE);
  create_stream(*storage, u"new", "new");
  EXPECT_EQ(names(*open(path)), Names{u"own"});  // the old one is there until the new one is whole
  storage.reset();
  EXPECT_EQ(names(*open(path)), Names{u"new"});
  for (const std::string& kept : {precious, file}) EXPECT_EQ(test::read_file(kept), "keep");
  EXPECT_EQ(StgCreateDocfile(path.u16string().c_str(), kWrite, 0, storage.out()),
            STG_E_FILEALREADYEXISTS);
}

TEST(FolderStorage, GoesAwayHoweverDeepItIs) {
  const test::ScratchFolder scratch;
  const auto root = create(scratch.file("s"));
  auto storage = root;
  for (int i = 0; i < 200; ++i) {  // longer than any path may be
    storage = create_storage(*storage, u"a rather long name for this");
    ASSERT_EQ(storage->Commit(STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE), S_OK);
  }
  storage = nullptr;
  EXPECT_EQ(root->DestroyElement(u"a rather long name for this"), S_OK);
  for (const auto& entry : std::filesystem::directory_iterator(scratch.file("s"))) {
    EXPECT_EQ(entry.path().filename(), ".storage");
  }
}

TEST(FolderStorage, ConsolidateClearsAwayOldLeftovers) {
  const test::ScratchFolder scratch;
  const std::filesystem::path path = scratch.file("s");
  const auto storage = create(path);
  std::filesystem::create_directories(path / ".tmp-2" / "in");
  for (const char* file : {".tmp-1", ".tmp-3"}) test::write_file(path / file, "x");
  const auto long_ago = std::filesystem::file_time_type::clock::now() - std::chrono::hours(2);
  for (const char* old : {".tmp-1", ".tmp-2"})
    std::filesystem::last_write_time(path / old, long_ago);
  EXPECT_EQ(storage->Commit(STGC_CONSOLIDATE), S_OK);
  for (const char* old : {".tmp-1", ".tmp-2"}) EXPECT_FALSE(std::filesystem::exists(path / old));
  EXPECT_TRUE(std::filesystem::exists(path / ".tmp-3"));
}

// A writer is killed at any moment: what is found meanwhile and afterwards is whole, and nothing is
// missing.
TEST(FolderStorage, NothingIsHalfWrittenWhenTheWriterIsKilled) {
  const test::ScratchFolder scratch;
  const std::string path = scratch.file("s");
  {
    const auto storage = create(path);
    create_stream(*storage, u"stream", std::string(100000, 'a'));
    create_stream(*create_storage(*storage, u"storage"), u"1", "a");
    create_stream(*open_storage(*storage, u"storage"), u"2", "a");
  }
  std::srand(1);
  std::string seen;
  for (int round = 0; round < 100; ++round) {
    const pid_t child = ::fork();
    if (child == 0) {
      const auto storage = open(path);
      for (char letter = static_cast<char>('a' + round % 26);;
           letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1)) {
        create_stream(*storage, u"stream", std::string(100000, letter), kWrite | STGM_CREATE);
        const auto inner = create_storage(*storage, u"storage", kWrite | STGM_CREATE);
        create_stream(*inner, u"1", std::string(1, letter));
        create_stream(*inner, u"2", std::string(1, letter));
      }
    }
    const auto look = [&] {
      const auto storage = open(path, kRead);
      ASSERT_EQ(names(*storage), (Names{u"storage/", u"stream"}));
      const std::string text = text_of(*storage, u"stream");
      ASSERT_EQ(text, std::string(100000, text[0]));
      const auto inner = open_storage(*storage, u"storage", kRead);
      ASSERT_EQ(names(*inner), (Names{u"1", u"2"}));
      ASSERT_EQ(text_of(*inner, u"1"), text_of(*inner, u"2"));
      if (seen.find(text[0]) == std::string::npos) seen += text[0];
    };
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::microseconds(std::rand() % 40000);
    while (!HasFatalFailure() && std::chrono::steady_clock::now() < end) look();
    ::kill(child, SIGKILL);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    look();
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(seen.size(), 1u);  // there was writing to be killed in
}

}  // namespace
}  // namespace tallowbrook::platform
