// A part's content from a host into a message, through a file and back.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <random>

#include "model/mime_body.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {
namespace {

constexpr const char16_t* kNone = nullptr;

using platform::Bstr;

ComPtr<IMimeBody> body_of(const ComPtr<IMimeDecoder>& message) {
  return object(message, u"Body").query<IMimeBody>();
}
ComPtr<IMimeBody> child_of(const ComPtr<IMimeBody>& part, LONG index) {
  ComPtr<IDispatch> child;
  EXPECT_EQ(part->get_Item(index, child.out()), S_OK);
  return platform::query<IMimeBody>(child.get());
}
std::string exported(const ComPtr<IMimeBody>& part) {
  const auto target = CISSHelper::create();
  EXPECT_TRUE(done(*part, &IMimeBody::Export, target.get()));
  return std::string(target->bytes());
}
bool import(const ComPtr<IMimeBody>& part, std::string_view bytes) {
  return done(*part, &IMimeBody::Import, CISSHelper::create_with(bytes).get(), VARIANT_FALSE);
}
std::u16string value_of(const ComPtr<IMimeBody>& part) {
  Bstr text;
  EXPECT_EQ(part->get_Value(text.out()), S_OK);
  return std::u16string(text.view());
}
// What a save writes for the root part behind its header.
std::string saved_body(const ComPtr<IMimeDecoder>& message) {
  const std::string text = saved(message);
  return text.substr(text.find("\r\n\r\n") + 4);
}
std::string in_utf16(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}

// A message with one child of this type and encoding beside a second one.
struct Pair {
  ComPtr<IMimeDecoder> message = new_message();
  ComPtr<IMimeBody> first;
  Pair(const char16_t* major, const char16_t* encoding) {
    const auto root = body_of(message);
    EXPECT_EQ(root->put_MajorContentType(Variant(u"multipart")), S_OK);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(root->AddNew(nullptr), S_OK);
    first = child_of(root, 0);
    EXPECT_EQ(first->put_MajorContentType(Variant(major)), S_OK);
    if (encoding != nullptr) {
      EXPECT_EQ(first->put_Encoding(Variant(encoding)), S_OK);
    }
    EXPECT_TRUE(import(child_of(root, 1), "after"));
  }
  // The first child's content after a save and a load.
  std::string reloaded() {
    const auto again = loaded(saved(message));
    const auto root = body_of(again);
    LONG count = 0;
    EXPECT_EQ(root->get_Count(&count), S_OK);
    EXPECT_EQ(count, 2) << saved(message);
    if (count != 2) return {};
    EXPECT_EQ(exported(child_of(root, 1)), "after\r\n");
    return exported(child_of(root, 0));
  }
};

std::string random_text(std::mt19937& random, const std::vector<std::string>& pieces) {
  std::string text;
  for (std::size_t left = random() % 40; left > 0; --left) text += pieces[random() % pieces.size()];
  return text;
}

TEST(Content, Base64ComesBackAsItWas) {
  std::mt19937 random(7);
  for (const std::size_t size : {0, 1, 56, 57, 58, 4095, 4097, 100000}) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % (size % 2 == 0 ? 256 : 15));
    Pair pair(u"application", u"base64");
    EXPECT_TRUE(import(pair.first, bytes));
    EXPECT_EQ(exported(pair.first), bytes);
    EXPECT_EQ(pair.reloaded(), bytes);
  }
}

// Line ends come back as CR LF, zeros not at all, and one line end at the end goes. In the line
// codings a dot that opens a line comes back doubled, unless it is alone.
TEST(Content, LinesComeBackWithTheirKnownDifferences) {
  std::mt19937 random(8);
  const std::vector<std::string> pieces{".", ".", "\r\n", "\n",   std::string(1, '\0'),
                                        " ", "a", "=",    "\xE9", std::string(80, 'b')};
  for (int round = 0; round < 200; ++round) {
    const std::string bytes = random_text(random, pieces);
    for (const char16_t* encoding : {u"quoted-printable", u"7bit", u"8bit", u"binary"}) {
      const bool quoted = encoding[0] == u'q';
      std::string expected;
      for (std::size_t i = 0, start = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\n' && !expected.ends_with('\r')) expected += '\r';
        if (bytes[i] != '\0') expected += bytes[i];
        if (bytes[i] == '\n') start = expected.size();
        const auto rest = bytes.substr(i + 1, bytes.find_first_of("\r\n", i) - i - 1);
        const bool alone = rest.find_first_not_of('\0') == rest.npos;
        if (!quoted && bytes[i] == '.' && expected.size() == start + 1 && !alone) expected += '.';
      }
      if (expected.ends_with("\r\n") && !(quoted && bytes.ends_with('\0')))
        expected.resize(expected.size() - 2);
      Pair pair(u"application", encoding);
      EXPECT_TRUE(import(pair.first, bytes));
      EXPECT_EQ(exported(pair.first), bytes);
      EXPECT_EQ(pair.reloaded(), expected) << testing::PrintToString(bytes);
    }
  }
}

// Whatever the content is, the parts around it stay (the pair looks at its second one).
TEST(Content, NothingEndsTheMessage) {
  std::mt19937 random(9);
  const std::vector<std::string> pieces{".", ".",  "\r", "\n", "\r\n", std::string(1, '\0'),
                                        " ", "\t", "a"};
  for (int round = 0; round < 300; ++round) {
    const std::string bytes = random_text(random, pieces);
    for (const char16_t* encoding : {u"quoted-printable", u"8bit", u"base64", kNone}) {
      for (const char16_t* major : {u"text", u"message"}) {
        Pair pair(major, encoding);
        EXPECT_TRUE(import(pair.first, bytes));
        (void)pair.reloaded();
      }
    }
  }
}

TEST(Content, AnEnclosedMessageIsSavedAsItIs) {
  const struct {
    const char* imported;
    const char* comes_back;
  } kRows[] = {
      {"Subject: a\r\n\r\nx\r\n..y\r\n.\r\n", "Subject: a\r\n\r\nx\r\n..y\r\n"},
      {"Subject: a\n\nx\n.\ny", "Subject: a\r\n\r\nx\r\n..\r\ny\r\n"},
      {"Subject: a\r\n\r\n. \r\n. \r\n", "Subject: a\r\n\r\n.. \r\n"},
      {"Subject: \xE9", "Subject: \xE9\r\n"},
  };
  for (const auto& row : kRows) {
    for (const char16_t* encoding : {u"8bit", kNone}) {
      Pair pair(u"message", encoding);
      EXPECT_EQ(pair.first->put_Charset(Variant(u"utf-8")), S_OK);
      EXPECT_TRUE(import(pair.first, row.imported));
      EXPECT_EQ(pair.reloaded(), row.comes_back);
    }
  }
}

TEST(Content, TextBecomesAMessage) {
  Pair pair(u"text", kNone);
  EXPECT_EQ(pair.first->put_Charset(Variant(u"utf-8")), S_OK);
  EXPECT_EQ(pair.first->put_Value(Bstr(u"Subject: a").get()), S_OK);
  EXPECT_EQ(pair.first->put_MajorContentType(Variant(u"message")), S_OK);
  EXPECT_EQ(pair.reloaded(), "Subject: a\r\n");
}

TEST(Content, TextIsTheSameWhateverIsPutFirst) {
  const std::function<void(IMimeBody&)> kPuts[] = {
      [](IMimeBody& part) { EXPECT_EQ(part.put_Charset(Variant(u"koi8-r")), S_OK); },
      [](IMimeBody& part) { EXPECT_EQ(part.put_Value(Bstr(u"a\u00E9 \u0416").get()), S_OK); },
      [](IMimeBody& part) { EXPECT_EQ(part.put_Encoding(Variant(u"quoted-printable")), S_OK); },
      [](IMimeBody& part) { EXPECT_EQ(part.put_Charset(Variant(u"utf-8")), S_OK); },
      [](IMimeBody& part) { EXPECT_EQ(part.put_MajorContentType(Variant(u"text")), S_OK); },
  };
  const struct {
    std::vector<int> puts;
    std::u16string value;
    std::string body;
  } kRows[] = {
      {{3, 1, 2, 4}, u"a\u00E9 \u0416", "a=C3=A9 =D0=96\r\n.\r\n"},
      {{2, 0, 1, 3}, u"a\u00E9 \u0416", "a=C3=A9 =D0=96\r\n.\r\n"},
      {{3, 1, 0, 2}, u"a\u00E9 \u0416", "a? =F6\r\n.\r\n"},
      {{1, 2, 3}, u"a\u00E9 ?", "a=C3=A9 ?\r\n.\r\n"},
      {{1, 2}, u"a\u00E9 ?", "a=E9 ?\r\n.\r\n"},
  };
  for (const auto& row : kRows) {
    const auto message = new_message();
    const auto part = body_of(message);
    for (const int put : row.puts) kPuts[put](*part);
    EXPECT_EQ(value_of(part), row.value);
    EXPECT_EQ(saved_body(message), row.body);
  }
}

TEST(Content, CharsetsAreForTextAlone) {
  const struct {
    const char16_t* major;
    const char16_t* charset;
    std::string imported;
    std::string body;
  } kRows[] = {
      {u"text", u"utf-8", in_utf16(u"\u00E9\u0416"), "=C3=A9=D0=96\r\n.\r\n"},
      {u"text", u"utf-fss", "\xE9", "=C3=A9\r\n.\r\n"},
      {u"text", u"", "\xE9", "=E9\r\n.\r\n"},
      {u"application", u"utf-8", "\xE9z", "=E9z\r\n.\r\n"},
  };
  for (const auto& row : kRows) {
    const auto message = new_message();
    const auto part = body_of(message);
    EXPECT_EQ(part->put_MajorContentType(Variant(row.major)), S_OK);
    EXPECT_EQ(part->put_Encoding(Variant(u"quoted-printable")), S_OK);
    EXPECT_EQ(part->put_Charset(Variant(row.charset)), S_OK);
    EXPECT_TRUE(import(part, row.imported));
    EXPECT_EQ(exported(part), row.imported);
    EXPECT_EQ(saved_body(message), row.body);
    EXPECT_EQ(exported(body_of(loaded(saved(message)))), row.imported);
  }
}

TEST(Content, AnotherEncodingCodesWireContentAnew) {
  const struct {
    const char* encoding;
    const char* charset;
    const char* content;
    const char16_t* put;
    const char* body;
    std::u16string value;
  } kRows[] = {
      {"base64", "utf-8", "w6l4\r\n", u"quoted-printable", "=C3=A9x\r\n", u"\u00E9x"},
      {"quoted-printable", "koi8-r", "=F6=\r\n=2E\r\n", u"base64", "9i4=\r\n", u"\u0416."},
      {"7bit", "us-ascii", "a\r\n..\r\n..b\r\n", u"base64", "YQ0KLg0KLi5i\r\n", u"a\r\n.\r\n..b"},
      {"7bit", "us-ascii", "a\r\n..b\r\n", u"8bit", "a\r\n..b\r\n", u"a\r\n..b"},
      {"quoted-printable", "x-unknown", "=E9=3D\r\n", u"8bit", "\xE9=\r\n", u"\u00E9="},
      {"base64", "utf-8", "  w6k=  \r\n", u"base64", "  w6k=  \r\n", u"\u00E9"},
  };
  for (const auto& row : kRows) {
    const auto message = loaded(std::string("Content-Type: text/plain; charset=") + row.charset +
                                "\r\nContent-Transfer-Encoding: " + row.encoding + "\r\n\r\n" +
                                row.content + ".\r\n");
    const auto part = body_of(message);
    EXPECT_EQ(value_of(part), row.value);
    EXPECT_EQ(part->put_Encoding(Variant(row.put)), S_OK);
    EXPECT_EQ(value_of(part), row.value);
    EXPECT_EQ(saved_body(message), std::string(row.body) + ".\r\n");
  }
}

TEST(Content, ImportLeavesStreamsOfOthersAlone) {
  const auto message = new_message();
  const auto part = body_of(message);
  const auto shared = CISSHelper::create_with("shared");
  EXPECT_TRUE(done(*part, &IMimeBody::Import, shared.get(), VARIANT_TRUE));
  EXPECT_TRUE(import(part, "copied"));
  EXPECT_EQ(shared->bytes(), "shared");
  EXPECT_EQ(exported(part), "copied");
  // The part's own content as a source, and as a target.
  EXPECT_TRUE(done(*part, &IMimeBody::Import, shared.get(), VARIANT_TRUE));
  shared->rewind();
  EXPECT_TRUE(done(*part, &IMimeBody::Import, shared.get(), VARIANT_FALSE));
  EXPECT_EQ(exported(part), "shared");
  EXPECT_TRUE(done(*part, &IMimeBody::Import, shared.get(), VARIANT_TRUE));
  shared->rewind();
  EXPECT_TRUE(done(*part, &IMimeBody::Export, shared.get()));
  EXPECT_EQ(exported(part), "shared");
}

TEST(Content, TellsWhatDidNotComeThrough) {
  const auto message = new_message();
  const auto part = body_of(message);
  EXPECT_TRUE(import(part, "kept"));
  HostStream broken(std::string(20000, 'c'), 9000);
  broken.reads_before_failure = 2;
  EXPECT_FALSE(done(*part, &IMimeBody::Import, &broken, VARIANT_FALSE));
  EXPECT_EQ(exported(part), "kept");
  HostStream full;
  full.most_taken = 0;
  EXPECT_FALSE(done(*part, &IMimeBody::Export, &full));
  EXPECT_TRUE(done(*part, &IMimeBody::Import, &broken, VARIANT_TRUE)) << "nothing is read yet";
  broken.reads_before_failure = 1;
  Bstr text;
  EXPECT_EQ(part->get_Value(text.out()), E_FAIL);
  EXPECT_TRUE(import(part, "let go"));
}

TEST(Content, FilesThatCannotBeHad) {
  const auto message = new_message();
  const auto part = body_of(message);
  EXPECT_TRUE(import(part, "kept"));
  const Bstr missing(u"no-such-folder/file");
  EXPECT_FALSE(done(*part, &IMimeBody::ImportFromFile, missing.get(), VARIANT_FALSE));
  EXPECT_EQ(take_error_text(), "File not found: \"no-such-folder/file\"");
  const Bstr full(u"/dev/full");  // takes nothing
  for (const Bstr* target : {&missing, &full}) {
    const std::string text =
        "File not written: \"" + to_ansi(platform::view_of(target->get())) + "\"";
    EXPECT_FALSE(done(*part, &IMimeBody::ExportAsFile, target->get()));
    EXPECT_EQ(take_error_text(), text);
    EXPECT_FALSE(done(*message, &IMimeDecoder::SaveToFile, target->get()));
    EXPECT_EQ(take_error_text(), text);
  }
  EXPECT_EQ(exported(part), "kept");
  // A file that is a part's content is not opened for writing while it is.
  const std::string path = testing::TempDir() + "tallowbrook-content-" + std::to_string(getpid());
  const Bstr name(to_wide(path));
  EXPECT_TRUE(done(*part, &IMimeBody::ExportAsFile, name.get()));
  EXPECT_TRUE(done(*part, &IMimeBody::ImportFromFile, name.get(), VARIANT_TRUE));
  EXPECT_FALSE(done(*part, &IMimeBody::ExportAsFile, name.get()));
  EXPECT_FALSE(done(*message, &IMimeDecoder::SaveToFile, name.get()));
  EXPECT_EQ(exported(part), "kept");
  std::remove(path.c_str());
}

TEST(Content, SavesIntoTheStreamThatIsAPartsContent) {
  for (const std::string& content : {std::string(), std::string(50000, 'x') + "\r\n"}) {
    Pair pair(u"application", u"8bit");
    const auto shared = CISSHelper::create_with(content);
    EXPECT_TRUE(done(*pair.first, &IMimeBody::Import, shared.get(), VARIANT_TRUE));
    EXPECT_TRUE(import(child_of(body_of(pair.message), 1), std::string(50000, 'y')));
    const std::string expected = saved(pair.message);
    shared->rewind();
    EXPECT_EQ(pair.message.query<IPersistStream>()->Save(shared.get(), FALSE), S_OK);
    EXPECT_EQ(shared->bytes(), expected);
  }
}

TEST(Content, ABodyPutMakesTheRootText) {
  const auto message = loaded(
      "X-Keep: x\r\nContent-Type: multipart/mixed; boundary=b\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\n--b\r\n\r\nx\r\n--b--\r\n");
  const auto root = body_of(message);
  EXPECT_EQ(root->put_Value(Bstr(u"lost").get()), E_FAIL);
  EXPECT_FALSE(import(root, "lost"));
  EXPECT_EQ(saved(message).find("base64"), std::string::npos);
  EXPECT_EQ(put(message.get(), u"Charset", text("iso-8859-1")), S_OK);
  EXPECT_EQ(put(message.get(), u"Body", text("a=\xE9")), S_OK);
  EXPECT_EQ(saved_body(message), "a=3D=E9\r\n.\r\n");
  EXPECT_TRUE(holds(saved(message), "text/plain", "charset=\"iso-8859-1\"", "X-Keep: x\r\n"));
  EXPECT_EQ(value_of(body_of(loaded(saved(message)))), u"a=\u00E9");
}

}  // namespace
}  // namespace tallowbrook::test
