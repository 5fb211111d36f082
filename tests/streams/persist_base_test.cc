#include "streams/persist_base.h"

#include <gtest/gtest.h>

#include "core/object.h"

namespace tallowbrook {
namespace {

class Persistent final
    : public IPersistBaseImpl<Object<Confined, IPersistStream, IPersistStreamInit>> {
 public:
  HRESULT GetClassID(CLSID*) override { return E_NOTIMPL; }
  HRESULT Load(IStream*) override {
    set_dirty(true);
    return S_OK;
  }
  HRESULT Save(IStream*, BOOL clear_dirty) override {
    if (clear_dirty != FALSE) set_dirty(false);
    return S_OK;
  }
  HRESULT InitNew() override { return S_OK; }
};

TEST(PersistBase, OneFlagAnswersBothInterfaces) {
  const auto object = make_object<Persistent>();
  const auto stream = object.query<IPersistStream>();
  const auto init = object.query<IPersistStreamInit>();
  ASSERT_TRUE(stream && init);
  EXPECT_EQ(init->IsDirty(), S_FALSE);
  stream->Load(nullptr);
  EXPECT_EQ(init->IsDirty(), S_OK);
  init->Save(nullptr, TRUE);
  EXPECT_EQ(stream->IsDirty(), S_FALSE);
  ULARGE_INTEGER size{5};
  EXPECT_EQ(init->GetSizeMax(&size), E_NOTIMPL);
}

}  // namespace
}  // namespace tallowbrook
