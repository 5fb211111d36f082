#include "bench/collection_bench.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/timing.h"
#include "platform/com/activation.h"
#include "tallowbrook/tallowbrook.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::bench {
namespace {

using platform::ComPtr;
using platform::Variant;

void must(HRESULT status) {
  if (FAILED(status)) throw std::runtime_error("a collection fails");
}

ComPtr<ICollection> filled(LONG count, const Variant& item) {
  ComPtr<ICollection> list;
  must(CoCreateInstance(CLSID_Collection, nullptr, CLSCTX_INPROC_SERVER, ICollection::kIid,
                        list.out_void()));
  for (LONG i = 0; i < count; ++i) must(list->Add(item));
  return list;
}

void read_by_position(ICollection& list, LONG count) {
  for (LONG i = 0; i < count; ++i) {
    Variant item;
    must(list.get_Item(i, &item));
  }
}

void read_by_enumerator(ICollection& list, ULONG at_once) {
  ComPtr<IUnknown> unknown;
  must(list.get__NewEnum(unknown.out()));
  const auto walk = unknown.query<IEnumVARIANT>();
  std::vector<Variant> items(at_once);
  HRESULT status = S_OK;
  while (status == S_OK) {
    ULONG fetched = 0;
    status = walk->Next(at_once, items.data(), &fetched);
    for (ULONG i = 0; i < fetched; ++i) items[i].clear();
  }
  must(status);
}

// Takes all items out; `position` gives the next one's, of so many that are left.
template <class Position>
void remove_all(ICollection& list, LONG count, Position&& position) {
  for (LONG left = count; left > 0; --left) must(list.Remove(position(left)));
}

constexpr LONG kSizes[] = {10'000, 100'000, 1'000'000};

// `job` runs on a list of `count` such items and is timed; the list is made anew each time.
void row(const char* name, const Variant& item,
         const std::function<void(ICollection&, LONG)>& job) {
  std::printf("%-34s", name);
  for (const LONG count : kSizes) {
    double quickest = 1e9;
    for (int i = 0; i < 3; ++i) {
      const auto list = filled(count, item);
      quickest = std::min(quickest, seconds([&] { job(*list, count); }));
    }
    std::printf(" %9.1f", quickest / count * 1e9);
  }
  std::printf("\n");
}

void rows(const char* kind, const Variant& item) {
  std::printf("%-34s %9d %9d %9d  items; ns each\n", kind, kSizes[0], kSizes[1], kSizes[2]);
  row("  Add", item, [&](ICollection&, LONG count) { (void)filled(count, item); });
  row("  Item by position", item, read_by_position);
  row("  enumerator, 1 at a time", item,
      [](ICollection& list, LONG) { read_by_enumerator(list, 1); });
  row("  enumerator, 100 at a time", item,
      [](ICollection& list, LONG) { read_by_enumerator(list, 100); });
  row("  Remove, first ones first", item,
      [](ICollection& list, LONG count) { remove_all(list, count, [](LONG) { return 0; }); });
  row("  Remove, in any order", item, [](ICollection& list, LONG count) {
    std::mt19937 random(1);
    remove_all(list, count,
               [&](LONG left) { return static_cast<LONG>(random() % static_cast<ULONG>(left)); });
  });
  row("  Save and Load", item, [](ICollection& list, LONG) {
    test::HostStream stream;
    const auto persist = platform::query<IPersistStream>(&list);
    must(persist->Save(&stream, FALSE));
    stream.content = stream.written();
    must(persist->Load(&stream));
  });
}

}  // namespace

void collection_costs() {
  rows("numbers", Variant(7));
  rows("texts of 20 characters", Variant(std::u16string_view(u"a text of 20 letters")));
}

}  // namespace tallowbrook::bench
