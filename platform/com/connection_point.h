// Connection points: how a host's event sink is connected to an object.
//
// A component's object embeds a ConnectionPointContainer and forwards IConnectionPointContainer to
// it:
//
//   class CMimeDecoder ... {
//     HRESULT EnumConnectionPoints(IEnumConnectionPoints** all) override {
//       return points_.enumerate(all);
//     }
//     HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) override {
//       return points_.find(iid, point);
//     }
//     static constexpr IID kEvents[] = {_IMimeDecoderEvents::kIid, _IAccessorEvents::kIid};
//     platform::ConnectionPointContainer points_{*this, kEvents, {&Module::lock, &Module::unlock}};
//   };
//
// A point is part of its container: a reference to it is one to the container. Enumerators keep the
// container alive and hold the module's lock, through the hook, for their whole life. A sink is
// held until Unadvise or until the container ends. Points may be used from any thread. They are
// made when one is first asked for: most objects have no sink.
#pragma once

#include <atomic>
#include <memory>
#include <span>
#include <vector>

#include "platform/com/unknown.h"

struct CONNECTDATA {
  IUnknown* pUnk;  // counted
  DWORD dwCookie;
};

struct IConnectionPoint;

struct IEnumConnections : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0xB196B287, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};

  virtual HRESULT Next(ULONG wanted, CONNECTDATA* connections, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumConnections** clone) = 0;
};

struct IEnumConnectionPoints : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0xB196B285, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};

  virtual HRESULT Next(ULONG wanted, IConnectionPoint** points, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumConnectionPoints** clone) = 0;
};

struct IConnectionPointContainer : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};

  virtual HRESULT EnumConnectionPoints(IEnumConnectionPoints** all) = 0;
  // CONNECT_E_NOCONNECTION when there is no point for `iid`.
  virtual HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) = 0;
};

struct IConnectionPoint : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};

  virtual HRESULT GetConnectionInterface(IID* iid) = 0;
  virtual HRESULT GetConnectionPointContainer(IConnectionPointContainer** container) = 0;
  // CONNECT_E_CANNOTCONNECT when the sink lacks the interface. `*cookie` is never 0.
  virtual HRESULT Advise(IUnknown* sink, DWORD* cookie) = 0;
  // CONNECT_E_NOCONNECTION for a cookie that is not known.
  virtual HRESULT Unadvise(DWORD cookie) = 0;
  virtual HRESULT EnumConnections(IEnumConnections** all) = 0;
};

namespace tallowbrook::platform {

// How enumerators count a component's module lock.
struct LockHook {
  void (*add)() = nullptr;
  void (*remove)() = nullptr;
};

class ConnectionPointContainer {
 public:
  // `owner` is the object that embeds this; it and `points` must outlive it.
  ConnectionPointContainer(IConnectionPointContainer& owner, std::span<const IID> points,
                           LockHook hook = {})
      : iids_(points), owner_(owner), hook_(hook) {}
  ~ConnectionPointContainer();
  ConnectionPointContainer(const ConnectionPointContainer&) = delete;
  ConnectionPointContainer& operator=(const ConnectionPointContainer&) = delete;

  HRESULT enumerate(IEnumConnectionPoints** all);
  HRESULT find(REFIID iid, IConnectionPoint** point);

  // The sinks connected for `iid` at this moment, as the interface that they were asked for.
  // Throws std::bad_alloc.
  [[nodiscard]] std::vector<ComPtr<IUnknown>> sinks(REFIID iid) const;

 private:
  class Point;
  using Points = std::vector<std::unique_ptr<Point>>;

  [[nodiscard]] const Points& points();

  std::span<const IID> iids_;
  std::atomic<const Points*> points_{nullptr};
  IConnectionPointContainer& owner_;
  LockHook hook_;
};

}  // namespace tallowbrook::platform
