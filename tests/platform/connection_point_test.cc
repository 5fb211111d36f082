#include "platform/com/connection_point.h"

#include <gtest/gtest.h>

#include "platform/com/counted.h"

using namespace tallowbrook::platform;

namespace {

int locks = 0;
void add_lock() { ++locks; }
void remove_lock() { --locks; }

struct ISink : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x51, 0, 0, {}};
};
struct IOther : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x52, 0, 0, {}};
};
class Sink final : public Counted<ISink> {};

class Source final : public Counted<IConnectionPointContainer> {
 public:
  Source() { ++alive; }
  ~Source() override { --alive; }
  HRESULT EnumConnectionPoints(IEnumConnectionPoints** all) override {
    return points.enumerate(all);
  }
  HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) override {
    return points.find(iid, point);
  }
  static inline int alive = 0;
  static constexpr IID kSources[] = {ISink::kIid, IOther::kIid};
  ConnectionPointContainer points{*this, kSources, {&add_lock, &remove_lock}};
};

TEST(ConnectionPoint, ConnectsSinks) {
  auto source = ComPtr<Source>::adopt(new Source);
  const auto sink = ComPtr<Sink>::adopt(new Sink);
  ComPtr<IConnectionPoint> point;
  EXPECT_EQ(source->FindConnectionPoint(IUnknown::kIid, point.out()), CONNECT_E_NOCONNECTION);
  ASSERT_EQ(source->FindConnectionPoint(IOther::kIid, point.out()), S_OK);
  DWORD first = 0;
  DWORD second = 0;
  EXPECT_EQ(point->Advise(sink.get(), &first), CONNECT_E_CANNOTCONNECT);
  ASSERT_EQ(source->FindConnectionPoint(ISink::kIid, point.out()), S_OK);
  ASSERT_EQ(point->Advise(sink.get(), &first), S_OK);
  ASSERT_EQ(point->Advise(sink.get(), &second), S_OK);
  EXPECT_NE(first, second);
  ComPtr<IEnumConnections> all;
  ASSERT_EQ(point->EnumConnections(all.out()), S_OK);
  EXPECT_EQ(point->Unadvise(first), S_OK);
  EXPECT_EQ(point->Unadvise(first), CONNECT_E_NOCONNECTION);
  CONNECTDATA data[3] = {};
  ULONG fetched = 0;
  EXPECT_EQ(all->Next(3, data, &fetched), S_FALSE);  // as it was when asked for
  ASSERT_EQ(fetched, 2U);
  EXPECT_EQ(data[1].dwCookie, second);
  for (ULONG at = 0; at < fetched; ++at) data[at].pUnk->Release();
  all.reset();
  point.reset();
  source.reset();
  EXPECT_EQ(Source::alive, 0);
  EXPECT_EQ(sink->AddRef(), 2U);  // the container gave its reference back
  sink->Release();
}

// Calls back whenever its references are counted.
class NosySink final : public Counted<ISink> {
 public:
  ULONG AddRef() override {
    if (point != nullptr) {
      EXPECT_EQ(point->Unadvise(999), CONNECT_E_NOCONNECTION);
    }
    return Counted::AddRef();
  }
  IConnectionPoint* point = nullptr;
};

TEST(ConnectionPoint, CountsSinksWithoutItsMutex) {
  const auto source = ComPtr<Source>::adopt(new Source);
  const auto sink = ComPtr<NosySink>::adopt(new NosySink);
  ComPtr<IConnectionPoint> point;
  ASSERT_EQ(source->FindConnectionPoint(ISink::kIid, point.out()), S_OK);
  sink->point = point.get();
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink.get(), &cookie), S_OK);
  EXPECT_EQ(source->points.sinks(ISink::kIid).size(), 1U);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
  EXPECT_TRUE(source->points.sinks(ISink::kIid).empty());
  sink->point = nullptr;
}

TEST(Counted, ADyingObjectMayBeAskedForReferences) {
  struct Dying final : Counted<ISink> {
    explicit Dying(int& ends) : ends_(ends) {}
    ~Dying() override {
      if (++ends_ == 1) ComPtr<ISink>(this).reset();
    }
    int& ends_;
  };
  int ends = 0;
  ComPtr<Dying>::adopt(new Dying(ends)).reset();
  EXPECT_EQ(ends, 1);
}

TEST(ConnectionPoint, WhatIsHandedOutKeepsTheSourceAlive) {
  auto source = ComPtr<Source>::adopt(new Source);
  ComPtr<IEnumConnectionPoints> all;
  ASSERT_EQ(source->EnumConnectionPoints(all.out()), S_OK);
  source.reset();
  EXPECT_EQ(Source::alive, 1);
  EXPECT_EQ(locks, 1);
  ComPtr<IEnumConnectionPoints> clone;
  EXPECT_EQ(all->Skip(1), S_OK);
  ASSERT_EQ(all->Clone(clone.out()), S_OK);
  all.reset();
  ComPtr<IConnectionPoint> point;
  ASSERT_EQ(clone->Next(1, point.out(), nullptr), S_OK);
  IID iid{};
  EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
  EXPECT_EQ(iid, IOther::kIid);
  clone.reset();
  EXPECT_EQ(locks, 0);
  EXPECT_EQ(Source::alive, 1);
  point.reset();
  EXPECT_EQ(Source::alive, 0);
}

}  // namespace
