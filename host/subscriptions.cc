#include "host/subscriptions.h"

#include <new>

#include "platform/kernel/wait.h"
#include "tallowbrook/events.h"

namespace tallowbrook {

using platform::ComPtr;

namespace {

class Hold {
 public:
  explicit Hold(HANDLE mutex) : mutex_(mutex) { WaitForSingleObject(mutex_, INFINITE); }
  ~Hold() { ReleaseMutex(mutex_); }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  HANDLE mutex_;
};

// How many references there are, by the object's own account.
ULONG references(IConnectionPoint& point) {
  point.AddRef();
  return point.Release();
}

}  // namespace

Subscriptions::Subscriptions() : mutex_(CreateMutexW(nullptr, FALSE, nullptr)) {
  if (!mutex_) throw std::bad_alloc();
}

void Subscriptions::connect(IDispatch& collection, CAccessorEventsCallback& callback) {
  const auto container = platform::query<IConnectionPointContainer>(&collection);
  Connections made(1);
  Connection& connection = made.front();
  if (!container) return;
  if (FAILED(container->FindConnectionPoint(_IAccessorEvents::kIid, connection.point.out())) ||
      !connection.point) {
    return;
  }
  connection.sink = make_object<CAccessorEvents>(callback);
  if (FAILED(connection.point->Advise(connection.sink.get(), &connection.cookie))) {
    connection.sink->detach();
    return;
  }
  // The caller's reference to the collection and ours to its point make two, if the point is a
  // part of the collection and counts truly.
  connection.counts = references(*connection.point) >= 2;
  put_back(made);
}

Subscriptions::Connections Subscriptions::take() {
  Connections taken;
  const Hold hold(mutex_.get());
  taken.swap(connections_);
  return taken;
}

void Subscriptions::put_back(Connections& connections) {
  const Hold hold(mutex_.get());
  connections_.splice(connections_.end(), connections);
}

void Subscriptions::end(Connections& connections) {
  for (const Connection& connection : connections) connection.sink->detach();
  for (const Connection& connection : connections) connection.point->Unadvise(connection.cookie);
  connections.clear();
}

void Subscriptions::drop_released() {
  Connections kept = take();
  Connections released;
  for (auto next = kept.begin(); next != kept.end();) {
    const auto one = next++;
    if (one->counts && references(*one->point) == 1) released.splice(released.end(), kept, one);
  }
  put_back(kept);
  end(released);
}

void Subscriptions::disconnect() {
  Connections all = take();
  end(all);
}

std::size_t Subscriptions::count() const {
  const Hold hold(mutex_.get());
  return connections_.size();
}

}  // namespace tallowbrook
