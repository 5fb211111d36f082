#include "platform/com/connection_point.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "platform/com/counted.h"

namespace tallowbrook::platform {
namespace {

class HeldLock {
 public:
  explicit HeldLock(LockHook hook) : hook_(hook) {
    if (hook_.add != nullptr) hook_.add();
  }
  ~HeldLock() {
    if (hook_.remove != nullptr) hook_.remove();
  }
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

 private:
  LockHook hook_;
};

struct Connection {
  DWORD cookie;
  ComPtr<IUnknown> sink;
};

void hand_over(const Connection& item, CONNECTDATA* target) {
  target->pUnk = nullptr;
  item.sink.copy_to(&target->pUnk);
  target->dwCookie = item.cookie;
}
void hand_over(const ComPtr<IConnectionPoint>& item, IConnectionPoint** target) {
  item.copy_to(target);
}

// Walks a copy of the items as they were when the enumerator was asked for.
template <class Interface, class Item, class Out>
class Enumerator final : public Counted<Interface> {
 public:
  Enumerator(std::vector<Item> items, std::size_t position, IUnknown* keeper, LockHook hook)
      : lock_(hook), hook_(hook), keeper_(keeper), items_(std::move(items)), next_(position) {}

  HRESULT Next(ULONG wanted, Out* out, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (out == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
    ULONG count = 0;
    while (count < wanted && next_ < items_.size()) hand_over(items_[next_++], &out[count++]);
    if (fetched != nullptr) *fetched = count;
    return count == wanted ? S_OK : S_FALSE;
  }
  HRESULT Skip(ULONG count) override {
    const std::size_t left = items_.size() - next_;
    next_ += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }
  HRESULT Reset() override {
    next_ = 0;
    return S_OK;
  }
  HRESULT Clone(Interface** clone) override {
    if (clone == nullptr) return E_POINTER;
    *clone = nullptr;
    try {
      *clone = new Enumerator(items_, next_, keeper_.get(), hook_);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }

 private:
  HeldLock lock_;  // goes last, after the container
  LockHook hook_;
  ComPtr<IUnknown> keeper_;
  std::vector<Item> items_;
  std::size_t next_;
};

using ConnectionEnumerator = Enumerator<IEnumConnections, Connection, CONNECTDATA>;
using PointEnumerator =
    Enumerator<IEnumConnectionPoints, ComPtr<IConnectionPoint>, IConnectionPoint*>;

}  // namespace

class ConnectionPointContainer::Point final : public IConnectionPoint {
 public:
  Point(IConnectionPointContainer& owner, REFIID iid, LockHook hook)
      : owner_(owner), iid_(iid), hook_(hook) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!has_identity<IConnectionPoint>(iid)) return E_NOINTERFACE;
    *object = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return owner_.AddRef(); }
  ULONG Release() override { return owner_.Release(); }

  HRESULT GetConnectionInterface(IID* iid) override {
    if (iid == nullptr) return E_POINTER;
    *iid = iid_;
    return S_OK;
  }
  HRESULT GetConnectionPointContainer(IConnectionPointContainer** container) override {
    if (container == nullptr) return E_POINTER;
    owner_.AddRef();
    *container = &owner_;
    return S_OK;
  }
  HRESULT Advise(IUnknown* sink, DWORD* cookie) override {
    if (cookie == nullptr) return E_POINTER;
    *cookie = 0;
    if (sink == nullptr) return E_POINTER;
    ComPtr<IUnknown> wanted;
    if (FAILED(sink->QueryInterface(iid_, wanted.out_void()))) return CONNECT_E_CANNOTCONNECT;
    try {
      const auto made = std::make_shared<Connection>(Connection{0, std::move(wanted)});
      const std::lock_guard lock(mutex_);
      connections_.push_back(made);
      *cookie = made->cookie = next_cookie_++;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }
  HRESULT Unadvise(DWORD cookie) override {
    std::shared_ptr<Connection> old;  // released after the mutex
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(connections_.begin(), connections_.end(),
                                    [&](const auto& one) { return one->cookie == cookie; });
    if (found == connections_.end()) return CONNECT_E_NOCONNECTION;
    old = std::move(*found);
    connections_.erase(found);
    return S_OK;
  }
  HRESULT EnumConnections(IEnumConnections** all) override {
    if (all == nullptr) return E_POINTER;
    *all = nullptr;
    try {
      *all = new ConnectionEnumerator(connections(), 0, this, hook_);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }

  [[nodiscard]] const IID& iid() const { return iid_; }
  [[nodiscard]] std::vector<Connection> connections() const {
    std::vector<std::shared_ptr<Connection>> held;
    {
      const std::lock_guard lock(mutex_);
      held = connections_;
    }
    std::vector<Connection> result;
    result.reserve(held.size());
    for (const auto& one : held) result.push_back(*one);
    return result;
  }

 private:
  IConnectionPointContainer& owner_;
  IID iid_;
  LockHook hook_;
  // The mutex is never held while a sink's references are counted, as that may call back: what is
  // copied under it is shared.
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<Connection>> connections_;
  DWORD next_cookie_ = 1;
};

ConnectionPointContainer::~ConnectionPointContainer() {
  delete points_.load(std::memory_order_acquire);
}

const ConnectionPointContainer::Points& ConnectionPointContainer::points() {
  const Points* known = points_.load(std::memory_order_acquire);
  if (known != nullptr) return *known;
  auto made = std::make_unique<Points>();
  for (const IID& iid : iids_) made->push_back(std::make_unique<Point>(owner_, iid, hook_));
  // Another thread's may have been there first.
  return points_.compare_exchange_strong(known, made.get()) ? *made.release() : *known;
}

HRESULT ConnectionPointContainer::enumerate(IEnumConnectionPoints** all) {
  if (all == nullptr) return E_POINTER;
  *all = nullptr;
  try {
    std::vector<ComPtr<IConnectionPoint>> items;
    for (const auto& point : points()) items.emplace_back(point.get());
    *all = new PointEnumerator(std::move(items), 0, &owner_, hook_);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

HRESULT ConnectionPointContainer::find(REFIID iid, IConnectionPoint** point) {
  if (point == nullptr) return E_POINTER;
  *point = nullptr;
  try {
    for (const auto& one : points()) {
      if (one->iid() != iid) continue;
      one->AddRef();
      *point = one.get();
      return S_OK;
    }
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return CONNECT_E_NOCONNECTION;
}

std::vector<ComPtr<IUnknown>> ConnectionPointContainer::sinks(REFIID iid) const {
  std::vector<ComPtr<IUnknown>> result;
  const Points* const made = points_.load(std::memory_order_acquire);
  if (made == nullptr) return result;
  for (const auto& point : *made) {
    if (point->iid() != iid) continue;
    for (Connection& one : point->connections()) result.push_back(std::move(one.sink));
  }
  return result;
}

}  // namespace tallowbrook::platform
