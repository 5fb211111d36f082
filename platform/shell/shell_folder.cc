// The desktop, the connections folder in it, and opening a connection.
//
// The connections folder is the item "connections"; an entry in it is the letter of its kind, its
// key, a zero byte and its name (connections.h).
#include "platform/shell/shell_folder.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/activation.h"
#include "platform/com/checked.h"
#include "platform/com/counted.h"
#include "platform/kernel/code_page.h"
#include "platform/kernel/handles.h"
#include "platform/shell/connections.h"

namespace tallowbrook::platform {
namespace {

constexpr std::string_view kFolderItem = "connections";
constexpr const char* kNewConnection = "New Connection";
constexpr std::size_t kSizeBytes = sizeof(USHORT);

// --- item identifier lists -----------------------------------------------------------------------

// The first item's bytes; empty at the end of a list.
std::string_view first_item(const void* list) {
  USHORT size = 0;
  if (list != nullptr) std::memcpy(&size, list, kSizeBytes);
  if (size <= kSizeBytes) return {};
  return {static_cast<const char*>(list) + kSizeBytes, size - kSizeBytes};
}
const void* behind(std::string_view item) { return item.data() + item.size(); }

// A list of one item, of an even size; null for an item that is too long.
ITEMIDLIST* list_of(std::string item) {
  if (item.size() % 2 != 0) item += '\0';
  const std::size_t size = kSizeBytes + item.size();
  if (size > std::numeric_limits<USHORT>::max()) return nullptr;
  auto* const list = static_cast<char*>(CoTaskMemAlloc(size + kSizeBytes));
  if (list == nullptr) throw std::bad_alloc();
  const auto word = static_cast<USHORT>(size);
  std::memcpy(list, &word, kSizeBytes);
  std::memcpy(list + kSizeBytes, item.data(), item.size());
  std::memset(list + size, 0, kSizeBytes);
  return reinterpret_cast<ITEMIDLIST*>(list);
}

std::string item_of(const Connection& connection) {
  std::string item(1, static_cast<char>(connection.kind));
  item.append(connection.key).append(1, '\0').append(connection.name).append(1, '\0');
  return item;
}

// False for an item that is no connection.
bool connection_of(std::string_view item, Connection& connection) {
  const std::size_t key_end = item.find('\0');
  if (key_end == std::string_view::npos || key_end == 0) return false;
  if (std::string_view("NPM").find(item[0]) == std::string_view::npos) return false;
  const std::string_view name = item.substr(key_end + 1);
  connection.kind = static_cast<Connection::Kind>(item[0]);
  connection.key = item.substr(1, key_end - 1);
  connection.name = name.substr(0, name.find('\0'));
  return true;
}

bool is_folder_item(std::string_view item) {
  return item.substr(0, kFolderItem.size()) == kFolderItem;
}

// --- the folders ---------------------------------------------------------------------------------

class TaskAllocator final : public Counted<IMalloc> {
 public:
  void* Alloc(std::size_t size) override { return CoTaskMemAlloc(size); }
  void* Realloc(void* memory, std::size_t size) override { return CoTaskMemRealloc(memory, size); }
  void Free(void* memory) override { CoTaskMemFree(memory); }
  std::size_t GetSize(void*) override { return std::numeric_limits<std::size_t>::max(); }
  int DidAlloc(void*) override { return -1; }
  void HeapMinimize() override {}
};

class ConnectionList final : public Counted<IEnumIDList> {
 public:
  using Items = std::shared_ptr<const std::vector<Connection>>;
  explicit ConnectionList(Items items, std::size_t position = 0)
      : items_(std::move(items)), position_(position) {}

  HRESULT Next(ULONG wanted, ITEMIDLIST** items, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (items == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
    std::fill_n(items, wanted, nullptr);
    ULONG count = 0;
    const HRESULT status = checked([&] {
      while (count < wanted && position_ + count < items_->size()) {
        items[count] = list_of(item_of((*items_)[position_ + count]));
        if (items[count] == nullptr) return E_FAIL;
        ++count;
      }
      return count < wanted ? S_FALSE : S_OK;
    });
    if (FAILED(status)) {
      for (ULONG i = 0; i < count; ++i) CoTaskMemFree(std::exchange(items[i], nullptr));
      return status;
    }
    position_ += count;
    if (fetched != nullptr) *fetched = count;
    return status;
  }
  HRESULT Skip(ULONG count) override {
    const std::size_t left = items_->size() - position_;
    position_ += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }
  HRESULT Reset() override {
    position_ = 0;
    return S_OK;
  }
  HRESULT Clone(IEnumIDList** clone) override {
    if (clone == nullptr) return E_POINTER;
    *clone = new (std::nothrow) ConnectionList(items_, position_);
    return *clone == nullptr ? E_OUTOFMEMORY : S_OK;
  }

 private:
  Items items_;
  std::size_t position_;
};

// What neither folder does.
class FolderBase : public Counted<IShellFolder> {
 public:
  HRESULT ParseDisplayName(HWND, void*, OLECHAR*, ULONG*, ITEMIDLIST** item, ULONG*) override {
    return not_built(item);
  }
  HRESULT EnumObjects(HWND, DWORD, IEnumIDList** items) override { return not_built(items); }
  HRESULT BindToObject(const ITEMIDLIST*, void*, REFIID, void** object) override {
    return not_built(object);
  }
  HRESULT BindToStorage(const ITEMIDLIST*, void*, REFIID, void** object) override {
    return not_built(object);
  }
  HRESULT CompareIDs(std::intptr_t, const ITEMIDLIST*, const ITEMIDLIST*) override {
    return E_NOTIMPL;
  }
  HRESULT CreateViewObject(HWND, REFIID, void** object) override { return not_built(object); }
  HRESULT GetAttributesOf(UINT, const ITEMIDLIST**, ULONG*) override { return E_NOTIMPL; }
  HRESULT GetUIObjectOf(HWND, UINT, const ITEMIDLIST**, REFIID, UINT*, void** object) override {
    return not_built(object);
  }
  HRESULT GetDisplayNameOf(const ITEMIDLIST*, DWORD, STRRET*) override { return E_NOTIMPL; }
  HRESULT SetNameOf(HWND, const ITEMIDLIST*, const OLECHAR*, DWORD, ITEMIDLIST** renamed) override {
    return not_built(renamed);
  }

 private:
  template <class T>
  static HRESULT not_built(T** out) {
    if (out != nullptr) *out = nullptr;
    return E_NOTIMPL;
  }
};

class ConnectionsFolder final : public FolderBase {
 public:
  HRESULT EnumObjects(HWND, DWORD flags, IEnumIDList** items) override {
    if (items == nullptr) return E_POINTER;
    *items = nullptr;
    return checked([&] {
      auto all = std::make_shared<std::vector<Connection>>();
      if ((flags & SHCONTF_NONFOLDERS) != 0) {
        *all = list_connections();
        all->insert(all->begin(), {Connection::Kind::kNew, {}, kNewConnection});
      }
      *items = new ConnectionList(std::move(all));
      return S_OK;
    });
  }

  HRESULT GetDisplayNameOf(const ITEMIDLIST* item, DWORD, STRRET* name) override {
    if (name == nullptr) return E_POINTER;
    *name = {};
    return checked([&] {
      Connection connection;
      if (!connection_of(first_item(item), connection)) return E_INVALIDARG;
      const std::u16string wide = wide_from_path(connection.name);
      const std::size_t bytes = (wide.size() + 1) * sizeof(OLECHAR);
      name->uType = STRRET_WSTR;
      name->pOleStr = static_cast<OLECHAR*>(CoTaskMemAlloc(bytes));
      if (name->pOleStr == nullptr) return E_OUTOFMEMORY;
      std::memcpy(name->pOleStr, wide.c_str(), bytes);
      return S_OK;
    });
  }
};

class Desktop final : public FolderBase {
 public:
  HRESULT BindToObject(const ITEMIDLIST* item, void*, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    const std::string_view first = first_item(item);
    if (!is_folder_item(first) || !first_item(behind(first)).empty()) return E_INVALIDARG;
    return checked([&] {
      return ComPtr<IShellFolder>::adopt(new ConnectionsFolder)->QueryInterface(iid, object);
    });
  }
};

}  // namespace
}  // namespace tallowbrook::platform

using namespace tallowbrook::platform;

HRESULT SHGetMalloc(IMalloc** allocator) {
  if (allocator == nullptr) return E_POINTER;
  *allocator = new (std::nothrow) TaskAllocator;
  return *allocator == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT SHGetDesktopFolder(IShellFolder** desktop) {
  if (desktop == nullptr) return E_POINTER;
  *desktop = new (std::nothrow) Desktop;
  return *desktop == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT SHGetSpecialFolderLocation(HWND, int folder, ITEMIDLIST** list) {
  if (list == nullptr) return E_POINTER;
  *list = nullptr;
  if (folder != CSIDL_CONNECTIONS) return E_INVALIDARG;
  return checked([&] {
    *list = list_of(std::string(kFolderItem));
    return S_OK;
  });
}

BOOL ShellExecuteExA(SHELLEXECUTEINFOA* info) {
  if (info == nullptr || info->cbSize != sizeof(*info) || (info->fMask & SEE_MASK_IDLIST) == 0) {
    return fail(ERROR_INVALID_PARAMETER);
  }
  constexpr std::uintptr_t kFailed = 2;
  constexpr std::uintptr_t kStarted = 42;
  info->hInstApp = reinterpret_cast<HMODULE>(kFailed);
  bool started = false;
  const HRESULT status = checked([&] {
    Connection connection;
    const std::string_view folder = first_item(info->lpIDList);
    started = is_folder_item(folder) && connection_of(first_item(behind(folder)), connection) &&
              dial(connection);
    return S_OK;
  });
  if (FAILED(status)) return fail(ERROR_NOT_ENOUGH_MEMORY);
  if (!started) return fail(ERROR_FILE_NOT_FOUND);
  info->hInstApp = reinterpret_cast<HMODULE>(kStarted);
  return TRUE;
}
