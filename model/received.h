// Trace headers as automation objects: views into a message's list of records.
//
// A record is a `List` of its clauses, its date, and the text that both were read from; while it is
// unparsed, the date holds that text as `Raw`. The first look at a part of it parses it.
#pragma once

#include <string>

#include "core/object.h"
#include "model/header_value.h"
#include "model/message_owner.h"
#include "model/view_mutex.h"
#include "tallowbrook/trace_headers.h"

namespace tallowbrook {

// Parses an unparsed record in place and keeps its text as the record's source. Its status when it
// does not parse; the record stays then. A date that is not on the calendar is kept as its text.
[[nodiscard]] HRESULT ReparseReceived(HeaderValue& record);

class CReceivedCollection final : public Object<Shared, Dispatching<IReceivedCollection>> {
 public:
  CReceivedCollection() = default;
  // On the list that the message has at each call, whatever was loaded meanwhile; on the last one
  // seen when the message is gone.
  explicit CReceivedCollection(MessageRef message);

  HRESULT get_Item(LONG index, IDispatch** item) override;
  HRESULT get_Count(LONG* count) override;
  HRESULT Remove(LONG index) override;
  HRESULT Clear() override;

 private:
  [[nodiscard]] HeaderValue& records();
  [[nodiscard]] bool has(LONG index);

  HeaderValue records_ = HeaderValue::list();  // pinned
  MessageRef message_;
  ViewMutex mutex_;
};

class CReceived final : public Object<Shared, Dispatching<IReceived>> {
 public:
  CReceived();
  // On one record, which the pinned list `records` shares. The message hears of changes while that
  // list is its own.
  CReceived(HeaderValue record, HeaderValue records, MessageRef message);

  HRESULT get_Value(BSTR* text) override;
  HRESULT put_Value(BSTR text) override;
  HRESULT get_Date(VARIANT* date) override;
  HRESULT put_Date(VARIANT date) override;
  HRESULT get_Parameters(IDispatch** parameters) override;

 private:
  void record_changed();

  HeaderValue record_;  // pinned
  HeaderValue records_;
  MessageRef message_;
  ViewMutex mutex_;
};

}  // namespace tallowbrook
