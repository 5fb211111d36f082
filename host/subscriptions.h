// The live accessor event sinks of an options supplier, and the value collections of the host that
// they hear.
//
// A connection keeps its collection alive, since disconnecting needs it. So that a collection that
// the host has let go does not live as long as the message, `drop_released` looks for those that
// nobody else holds any more; suppliers call it whenever the host asks for something. The list is
// guarded by a mutex, and no code of the host is called under it.
#pragma once

#include <cstddef>
#include <list>

#include "host/accessor_events.h"
#include "platform/com/connection_point.h"
#include "platform/kernel/handles.h"

namespace tallowbrook {

class Subscriptions {
 public:
  Subscriptions();  // throws std::bad_alloc
  ~Subscriptions() { disconnect(); }
  Subscriptions(const Subscriptions&) = delete;
  Subscriptions& operator=(const Subscriptions&) = delete;

  // Connects a new sink of `callback` to the collection's point for accessor events. A collection
  // without one is left alone. Throws std::bad_alloc.
  void connect(IDispatch& collection, CAccessorEventsCallback& callback);
  // Disconnects from the collections that nobody else holds.
  void drop_released();
  // Detaches and disconnects every sink.
  void disconnect();

  [[nodiscard]] std::size_t count() const;

 private:
  struct Connection {
    platform::ComPtr<CAccessorEvents> sink;
    platform::ComPtr<IConnectionPoint> point;
    DWORD cookie = 0;
    bool counts = false;  // the point's count of references tells whether others hold it
  };
  using Connections = std::list<Connection>;

  // Takes all connections out of the list, and puts some back.
  [[nodiscard]] Connections take();
  void put_back(Connections& connections);
  static void end(Connections& connections);

  platform::Handle mutex_;
  Connections connections_;
};

}  // namespace tallowbrook
