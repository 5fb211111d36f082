// For every n, the n-th allocation, read, write or file call fails while a message is edited, a
// part of it imported or exported, and while it is saved: the status tells, nothing leaks, and what
// is saved then is the old message or the new one.
#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <optional>

#include "tallowbrook/mime_body.h"
#include "tests/faults/failing_calls.h"
#include "tests/model/host.h"
#include "tests/support/host_stream.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::test {
namespace {

constexpr std::string_view kMessage =
    "From: A B <a@b>\r\nTo: x@y, v@w\r\nDate: 1 Jun 2026 10:00:00 +0200\r\nSubject: s\r\nX-One: "
    "1\r\n"
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\nContent-Type: text/plain; charset=utf-8; name=\"n\"\r\n"
    "Content-Disposition: attachment; filename=f\r\n\r\nbody \xC3\xBC\r\n"
    "--b\r\nContent-Type: message/rfc822\r\n\r\nDate: 1 Jun 2026 10:00:00 +0200\r\nSubject: "
    "inside\r\n\r\nend\r\n--b--\r\n";

// What an edit has: everything was made before anything fails.
struct Scene {
  ComPtr<IMimeDecoder> message = loaded(kMessage);
  ComPtr<IMimeBody> root = object(message, u"Body").query<IMimeBody>();
  ComPtr<IMimeBody> part = item(root, 0).query<IMimeBody>();
  ComPtr<IMimeDecoder> inside = object(item(root, 1), u"EmbeddedMessage").query<IMimeDecoder>();
  ComPtr<IDispatch> parameters =
      object(object(ComPtr<IDispatch>(part), u"ContentType"), u"Parameters");
  ComPtr<IDispatch> fields = object(ComPtr<IDispatch>(root), u"Fields");
  HostStream source{std::string(300, 'i'), 64};
  HostStream target;
  platform::Bstr file;
  VARIANT_BOOL done = VARIANT_TRUE;  // what a method told beside its status
};

HRESULT put_one(IDispatch* object, const char16_t* name, const char* value) {
  return put(object, name, text(value));
}

struct Edit {
  const char* name;
  HRESULT (*make)(Scene& scene);
};

const Edit kEdits[] = {
    {"Subject",
     [](Scene& s) { return put(s.message.get(), u"Subject", Variant(u"Gr\u00FC\u00DFe")); }},
    {"To", [](Scene& s) { return put_one(s.message.get(), u"To", "N M <n@m>, o@p"); }},
    {"From", [](Scene& s) { return put_one(s.message.get(), u"From", "n@m"); }},
    {"Sender", [](Scene& s) { return put_one(s.message.get(), u"Sender", "n@m"); }},
    {"Date", [](Scene& s) { return put(s.message.get(), u"Date", Variant()); }},
    {"MessageID", [](Scene& s) { return put_one(s.message.get(), u"MessageID", "<i@d>"); }},
    {"Body", [](Scene& s) { return put_one(s.message.get(), u"Body", "another"); }},
    {"Value", [](Scene& s) { return put(s.part.get(), u"Value", Variant(u"n\u00E9w\r\n")); }},
    {"Encoding", [](Scene& s) { return put_one(s.part.get(), u"Encoding", "base64"); }},
    {"Charset", [](Scene& s) { return put_one(s.part.get(), u"Charset", "iso-8859-1"); }},
    {"Name", [](Scene& s) { return put_one(s.part.get(), u"Name", "another"); }},
    {"FileName", [](Scene& s) { return put_one(s.part.get(), u"FileName", "another"); }},
    {"Description", [](Scene& s) { return put_one(s.part.get(), u"Description", "d"); }},
    {"ContentID", [](Scene& s) { return put_one(s.part.get(), u"ContentID", "<c@d>"); }},
    {"MajorContentType",
     [](Scene& s) { return put_one(s.part.get(), u"MajorContentType", "image"); }},
    {"MinorContentType",
     [](Scene& s) { return put_one(s.part.get(), u"MinorContentType", "html"); }},
    {"ExtField",
     [](Scene& s) {
       return platform::put(s.part.get(), u"ExtField", Variant(u"X-N"), text("v")).status;
     }},
    {"AddNew", [](Scene& s) { return s.root->AddNew(nullptr); }},
    {"Remove", [](Scene& s) { return s.root->Remove(0); }},
    {"Clear", [](Scene& s) { return s.part->Clear(); }},
    {"Fields",
     [](Scene& s) { return platform::call(s.fields.get(), u"Remove", text("X-One")).status; }},
    {"Parameters",
     [](Scene& s) { return platform::call(s.parameters.get(), u"Remove", text("name")).status; }},
    {"EmbeddedMessage", [](Scene& s) { return put_one(s.inside.get(), u"Subject", "another"); }},
    {"Import", [](Scene& s) { return s.part->Import(&s.source, VARIANT_FALSE, &s.done); }},
    {"Export", [](Scene& s) { return s.part->Export(&s.target, &s.done); }},
    {"ImportFromFile",
     [](Scene& s) { return s.part->ImportFromFile(s.file.get(), VARIANT_FALSE, &s.done); }},
    {"ExportAsFile", [](Scene& s) { return s.part->ExportAsFile(s.file.get(), &s.done); }},
    {"Save", [](Scene& s) { return s.message.query<IPersistStream>()->Save(&s.target, FALSE); }},
};

// Makes each edit with every call of one kind failing in turn. `arm` starts the failures of a
// scene's n-th call and tells, when it goes, whether there was one.
template <class Fault>
void fail_each_edit(Fault&& fault) {
  const ScratchFolder folder;
  const std::string old = saved(loaded(kMessage));
  for (const Edit& edit : kEdits) {
    const auto fresh = [&folder] {
      Scene scene;
      write_file(folder.file("f"), std::string(300, 'f'));
      scene.file = platform::Bstr(to_wide(folder.file("f")));
      (void)saved(scene.message);
      return scene;
    };
    std::string edited;
    {
      Scene scene = fresh();
      ASSERT_EQ(edit.make(scene), S_OK) << edit.name;
      edited = saved(scene.message);
    }
    const auto job = [&](std::size_t n) {
      Scene scene = fresh();
      HRESULT status = E_OUTOFMEMORY;
      bool failed = false;
      {
        auto failing = fault(scene, n);
        try {
          status = edit.make(scene);
        } catch (const std::bad_alloc&) {  // of the binder, which is the host's
        }
        failed = failing();
      }
      EXPECT_TRUE(SUCCEEDED(status) || status == E_OUTOFMEMORY || status == E_FAIL ||
                  status == STG_E_MEDIUMFULL)
          << edit.name << " " << n << " " << std::hex << status;
      EXPECT_TRUE(scene.done == VARIANT_TRUE || scene.done == VARIANT_FALSE);
      const std::string now = saved(scene.message);
      EXPECT_TRUE(now == old || now == edited) << edit.name << " " << n << "\n" << now;
      EXPECT_TRUE(failed || now == edited) << edit.name << " " << n;
      EXPECT_EQ(scene.source.references, 1) << edit.name << " " << n;
      EXPECT_EQ(scene.target.references, 1) << edit.name << " " << n;
      return failed;
    };
    EXPECT_NE(fail_each(job), 0U) << edit.name;
  }
}

TEST(FailEveryCall, AllocationsOfEdits) {
  fail_each_edit([](Scene& scene, std::size_t n) {
    scene.target.keep_writes = false;
    return [failing = std::make_unique<FailingAllocation>(n)]() mutable {
      const bool happened = failing->happened();
      failing.reset();
      return happened;
    };
  });
}

TEST(FailEveryCall, ReadsAndWritesOfEdits) {
  fail_each_edit([](Scene& scene, std::size_t n) {
    scene.source.reads_before_failure = static_cast<int>(n) - 1;
    scene.target.writes_before_failure = static_cast<int>(n) - 1;
    scene.target.most_taken = 50;
    return [&scene] {
      return scene.source.reads_before_failure < 0 || scene.target.writes_before_failure < 0;
    };
  });
}

TEST(FailEveryCall, FileCallsOfEdits) {
  fail_each_edit([](Scene&, std::size_t n) {
    return [failing = std::make_unique<FailingFileCall>(n, EIO)] { return failing->happened(); };
  });
}

}  // namespace
}  // namespace tallowbrook::test
