#include "host/dialup_collection.h"

#include <cstring>
#include <string>
#include <utility>

#include "core/creators.h"
#include "core/text.h"
#include "host/dialup_connection.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

// The bytes of a list without the size of 0 that ends it.
std::size_t length_of(const ITEMIDLIST* list) {
  const char* const start = reinterpret_cast<const char*>(list);
  std::size_t length = 0;
  for (USHORT size = 0;; length += size) {
    std::memcpy(&size, start + length, sizeof(size));
    if (size == 0) return length;
  }
}

// `folder` and behind it `item`; empty when there is no memory.
ItemList concatenated(IMalloc& allocator, const ITEMIDLIST* folder, const ITEMIDLIST* item) {
  const std::size_t head = length_of(folder);
  const std::size_t tail = length_of(item) + sizeof(USHORT);
  auto* const bytes = static_cast<char*>(allocator.Alloc(head + tail));
  if (bytes == nullptr) return {};
  std::memcpy(bytes, folder, head);
  std::memcpy(bytes + head, item, tail);
  return ItemList(reinterpret_cast<ITEMIDLIST*>(bytes));
}

// What the shell calls the item, in the ANSI code page. False when it has no name for it.
bool name_of(IShellFolder& folder, const ITEMIDLIST* item, std::string& name) {
  STRRET shown{};
  if (FAILED(folder.GetDisplayNameOf(item, SHGDN_NORMAL, &shown))) return false;
  switch (shown.uType) {
    case STRRET_WSTR: {
      if (shown.pOleStr == nullptr) return false;
      const std::unique_ptr<OLECHAR, TaskMemoryFree> text(shown.pOleStr);
      name = to_ansi(text.get());
      return true;
    }
    case STRRET_OFFSET:
      name = reinterpret_cast<const char*>(item) + shown.uOffset;
      return true;
    case STRRET_CSTR:
      name.assign(shown.cStr, ::strnlen(shown.cStr, sizeof(shown.cStr)));
      return true;
    default:
      return false;
  }
}

}  // namespace

HRESULT create_dialup_collection(REFIID iid, void** object) {
  return create_instance<CDialupCollection>(iid, object);
}

CDialupCollection::CDialupCollection() {
  if (created_to_load(CLSID_DialupCollection)) return;
  static_cast<void>(guarded([&] {
    fill();
    return S_OK;
  }));
}

void CDialupCollection::fill() {
  ComPtr<IMalloc> allocator;
  ComPtr<IShellFolder> desktop;
  ComPtr<IShellFolder> folder;
  ComPtr<IEnumIDList> items;
  ITEMIDLIST* list = nullptr;
  if (FAILED(SHGetMalloc(allocator.out())) || FAILED(SHGetDesktopFolder(desktop.out())) ||
      FAILED(SHGetSpecialFolderLocation(nullptr, CSIDL_CONNECTIONS, &list))) {
    return;
  }
  const ItemList place(list);
  if (FAILED(desktop->BindToObject(place.get(), nullptr, IShellFolder::kIid, folder.out_void())) ||
      FAILED(folder->EnumObjects(nullptr, SHCONTF_FOLDERS | SHCONTF_NONFOLDERS, items.out())) ||
      !items) {
    return;
  }
  bool first = true;  // makes a new connection
  while (items->Next(1, &list, nullptr) == S_OK) {
    const ItemList item(list);
    std::string name;
    if (std::exchange(first, false) || !name_of(*folder, item.get(), name)) continue;
    ItemList entry = concatenated(*allocator, place.get(), item.get());
    if (!entry) continue;
    const auto connection = make_object<CDialupConnection>(std::move(name), std::move(entry));
    static_cast<void>(Add(platform::Variant(static_cast<IDispatch*>(connection.get()))));
  }
}

}  // namespace tallowbrook
