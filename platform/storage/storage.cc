// IStorage over the elements of a storage, and the functions that create and open storages.
#include "platform/storage/storage.h"

#include <algorithm>
#include <functional>

#include "platform/com/activation.h"
#include "platform/com/checked.h"
#include "platform/com/counted.h"
#include "platform/kernel/code_page.h"
#include "platform/storage/folder_elements.h"
#include "platform/storage/open_element.h"

namespace tallowbrook::platform {
namespace {

constexpr DWORD kAccess = STGM_WRITE | STGM_READWRITE;
constexpr DWORD kShare = 0x70;

HRESULT check_mode(DWORD mode) {
  const bool known = (mode & ~(kAccess | kShare | STGM_CREATE)) == 0;
  return known && (mode & kAccess) != kAccess ? S_OK : STG_E_INVALIDFLAG;
}

bool contains(SNB names, std::u16string_view name) {
  for (; names != nullptr && *names != nullptr; ++names) {
    if (name == *names) return true;
  }
  return false;
}

bool durable(DWORD flags) { return (flags & STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE) == 0; }

// Where a new storage goes.
using PlaceStorage = std::function<HRESULT(Elements& made, Placing how)>;

class Storage final : public Counted<IStorage>, public OpenElement {
 public:
  // Without `place` the storage has its place.
  Storage(std::shared_ptr<OpenElements> siblings, std::shared_ptr<Elements> elements,
          std::u16string name, DWORD mode, PlaceStorage place = {})
      : OpenElement(std::move(siblings)),
        elements_(std::move(elements)),
        name_(std::move(name)),
        mode_(mode),
        place_(std::move(place)) {}

  HRESULT CreateStream(const OLECHAR* name, DWORD mode, DWORD, DWORD, IStream** stream) override {
    return create(name, mode, stream, [&] {
      *stream =
          new_element_stream({open_, elements_, name, mode, std::make_shared<std::string>(), true});
      return S_OK;
    });
  }

  HRESULT OpenStream(const OLECHAR* name, void*, DWORD mode, DWORD, IStream** stream) override {
    return open(name, mode, stream, [&] {
      Content content;
      const HRESULT status = elements_->read(name, content);
      if (FAILED(status)) return status;
      *stream = new_element_stream({open_, elements_, name, mode, std::move(content), false});
      return S_OK;
    });
  }

  HRESULT CreateStorage(const OLECHAR* name, DWORD mode, DWORD, DWORD,
                        IStorage** storage) override {
    return create(name, mode, storage, [&] {
      std::shared_ptr<Elements> made;
      const HRESULT status = elements_->make(made);
      if (FAILED(status)) return status;
      auto place = [elements = elements_, place = std::u16string(name)](Elements& made_there,
                                                                        Placing how) {
        return elements->place(place, made_there, how);
      };
      *storage = new Storage(open_, std::move(made), name, mode, std::move(place));
      return S_OK;
    });
  }

  HRESULT OpenStorage(const OLECHAR* name, IStorage* priority, DWORD mode, SNB exclude, DWORD,
                      IStorage** storage) override {
    return open(name, mode, storage, [&] {
      if (priority != nullptr || exclude != nullptr) return STG_E_INVALIDPARAMETER;
      std::shared_ptr<Elements> found;
      const HRESULT status = elements_->open(name, found);
      if (FAILED(status)) return status;
      *storage = new Storage(open_, std::move(found), name, mode);
      return S_OK;
    });
  }

  HRESULT CopyTo(DWORD excluded_count, const IID* excluded, SNB excluded_names,
                 IStorage* target) override {
    if (target == nullptr || (excluded == nullptr && excluded_count > 0)) {
      return STG_E_INVALIDPOINTER;
    }
    const auto leaves_out = [&](REFIID iid) {
      return std::find(excluded, excluded + excluded_count, iid) != excluded + excluded_count;
    };
    const bool no_storages = leaves_out(IStorage::kIid);
    const bool no_streams = leaves_out(IStream::kIid);
    return checked([&] {
      Copies copies{{ComPtr<IStorage>(this), ComPtr<IStorage>(target)}};
      return copy_all(copies, [&](const IStorage* from, const STATSTG& element) {
        return (element.type == STGTY_STORAGE ? no_storages : no_streams) ||
               (from == this && contains(excluded_names, element.pwcsName));
      });
    });
  }

  HRESULT MoveElementTo(const OLECHAR* name, IStorage* target, const OLECHAR* new_name,
                        DWORD flags) override {
    if (target == nullptr) return STG_E_INVALIDPOINTER;
    if (!is_name(name) || !is_name(new_name)) return STG_E_INVALIDNAME;
    const bool moves = flags == STGMOVE_MOVE;
    if (moves && !writable()) return STG_E_ACCESSDENIED;
    return checked([&] {
      if (moves && is_inside(target, name)) return STG_E_ACCESSDENIED;
      ElementFacts facts;
      HRESULT status = elements_->facts(name, facts);
      if (FAILED(status)) return status;
      Copies copies;
      status = copy_element(*this, name, facts.type, *target, new_name, copies);
      if (SUCCEEDED(status)) {
        status = copy_all(copies, [](const IStorage*, const STATSTG&) { return false; });
      }
      return SUCCEEDED(status) && moves ? elements_->remove(name) : status;
    });
  }

  HRESULT Commit(DWORD flags) override {
    return checked([&] {
      HRESULT first = S_OK;
      const std::vector<OpenElement*> open = open_from(*this);
      for (auto element = open.rbegin(); element != open.rend(); ++element) {
        const HRESULT status = (*element)->publish(durable(flags));
        if (FAILED(status) && SUCCEEDED(first)) first = status;
      }
      if ((flags & STGC_CONSOLIDATE) != 0 && writable()) elements_->consolidate();
      return first;
    });
  }

  HRESULT Revert() override {
    return checked([&] {
      for (OpenElement* element : open_from(*this)) element->drop();
      return S_OK;
    });
  }

  HRESULT EnumElements(DWORD, void*, DWORD, IEnumSTATSTG** elements) override {
    if (elements == nullptr) return STG_E_INVALIDPOINTER;
    *elements = nullptr;
    return checked([&] {
      auto list = ComPtr<IEnumSTATSTG>::adopt(new_element_list(elements_));
      const HRESULT status = list->Reset();
      if (SUCCEEDED(status)) *elements = list.detach();
      return status;
    });
  }

  HRESULT DestroyElement(const OLECHAR* name) override {
    return change(name, [&] { return elements_->remove(name); });
  }

  HRESULT RenameElement(const OLECHAR* name, const OLECHAR* new_name) override {
    if (!is_name(new_name)) return STG_E_INVALIDNAME;
    return change(name, [&] { return elements_->rename(name, new_name); });
  }

  HRESULT SetElementTimes(const OLECHAR* name, const FILETIME* created, const FILETIME* accessed,
                          const FILETIME* modified) override {
    const OLECHAR* of = name == nullptr ? u"" : name;
    return change(name == nullptr ? u"-" : name, [&] {
      return elements_->set_times(of, {created, accessed, modified});
    });
  }

  HRESULT SetClass(REFCLSID clsid) override {
    return change_identity([&](ElementFacts& facts) { facts.clsid = clsid; });
  }
  HRESULT SetStateBits(DWORD bits, DWORD mask) override {
    return change_identity([&](ElementFacts& facts) {
      facts.state_bits = (facts.state_bits & ~mask) | (bits & mask);
    });
  }

  HRESULT Stat(STATSTG* stat, DWORD flags) override {
    if (stat == nullptr) return STG_E_INVALIDPOINTER;
    *stat = {};
    return checked([&] {
      ElementFacts facts;
      const HRESULT status = elements_->own_facts(facts);
      if (FAILED(status)) return status;
      if ((flags & STATFLAG_NONAME) == 0) stat->pwcsName = task_copy(name_);
      stat->type = STGTY_STORAGE;
      stat->mtime = facts.modified;
      stat->ctime = facts.created;
      stat->atime = facts.accessed;
      stat->grfMode = mode_;
      stat->clsid = facts.clsid;
      stat->grfStateBits = facts.state_bits;
      return S_OK;
    });
  }

  HRESULT publish(bool to_disk) override {
    if (to_disk && writable()) {
      const HRESULT status = elements_->flush();
      if (FAILED(status)) return status;
    }
    if (!place_) return S_OK;
    const HRESULT status = place_(*elements_, {(mode_ & STGM_CREATE) != 0, to_disk});
    if (SUCCEEDED(status)) place_ = {};
    return status;
  }
  void drop() override { place_ = {}; }
  OpenElements* children() override { return open_.get(); }

 protected:
  ~Storage() override {
    if (place_) static_cast<void>(checked([&] { return publish(true); }));
  }

 private:
  // Storages whose elements are to be copied, and where to.
  using Copies = std::vector<std::pair<ComPtr<IStorage>, ComPtr<IStorage>>>;

  [[nodiscard]] bool writable() const { return (mode_ & kAccess) != STGM_READ; }
  [[nodiscard]] static bool is_name(const OLECHAR* name) {
    return name != nullptr && is_element_name(name);
  }

  template <class Interface, class Body>
  HRESULT create(const OLECHAR* name, DWORD mode, Interface** object, Body&& body) {
    if (object == nullptr) return STG_E_INVALIDPOINTER;
    *object = nullptr;
    if (FAILED(check_mode(mode))) return STG_E_INVALIDFLAG;
    return change(name, [&] {
      ElementFacts facts;
      if ((mode & STGM_CREATE) == 0 && SUCCEEDED(elements_->facts(name, facts))) {
        return STG_E_FILEALREADYEXISTS;
      }
      return body();
    });
  }

  template <class Interface, class Body>
  HRESULT open(const OLECHAR* name, DWORD mode, Interface** object, Body&& body) {
    if (object == nullptr) return STG_E_INVALIDPOINTER;
    *object = nullptr;
    if (FAILED(check_mode(mode)) || (mode & STGM_CREATE) != 0) return STG_E_INVALIDFLAG;
    if (!is_name(name)) return STG_E_INVALIDNAME;
    if ((mode & kAccess) != STGM_READ && !writable()) return STG_E_ACCESSDENIED;
    return checked(body);
  }

  template <class Body>
  HRESULT change(const OLECHAR* name, Body&& body) {
    if (!is_name(name)) return STG_E_INVALIDNAME;
    return writable() ? checked(body) : STG_E_ACCESSDENIED;
  }

  template <class Body>
  HRESULT change_identity(Body&& body) {
    if (!writable()) return STG_E_ACCESSDENIED;
    return checked([&] {
      ElementFacts facts;
      const HRESULT status = elements_->own_facts(facts);
      if (FAILED(status)) return status;
      body(facts);
      return elements_->set_identity(facts.clsid, facts.state_bits);
    });
  }

  // The element and all that is open from it, each before what is open from it in turn.
  static std::vector<OpenElement*> open_from(OpenElement& element) {
    std::vector<OpenElement*> all{&element};
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (const OpenElements* children = all[i]->children()) {
        all.insert(all.end(), children->begin(), children->end());
      }
    }
    return all;
  }

  // True when `target` was opened from the element `name` or is it: what moves into itself is lost.
  bool is_inside(const IStorage* target, std::u16string_view name) {
    for (OpenElement* element : *open_) {
      const auto* storage = dynamic_cast<Storage*>(element);
      if (storage == nullptr || storage->name_ != name) continue;
      for (OpenElement* inner : open_from(*element)) {
        if (dynamic_cast<IStorage*>(inner) == target) return true;
      }
    }
    return false;
  }

  static HRESULT copy_stream(IStorage& from, const OLECHAR* name, IStorage& to,
                             const OLECHAR* new_name) {
    ComPtr<IStream> source;
    ComPtr<IStream> copy;
    HRESULT status =
        from.OpenStream(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, source.out());
    if (FAILED(status)) return status;
    status = to.CreateStream(new_name, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0,
                             copy.out());
    if (FAILED(status)) return status;
    status = source->CopyTo(copy.get(), {~ULONGLONG{0}}, nullptr, nullptr);
    if (SUCCEEDED(status)) status = copy->Commit(STGC_DEFAULT);
    if (FAILED(status)) copy->Revert();
    return status;
  }

  // A storage's own elements are left to `copies`.
  static HRESULT copy_element(IStorage& from, const OLECHAR* name, DWORD type, IStorage& to,
                              const OLECHAR* new_name, Copies& copies) {
    if (type != STGTY_STORAGE) return copy_stream(from, name, to, new_name);
    ComPtr<IStorage> source;
    ComPtr<IStorage> copy;
    const DWORD mode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
    HRESULT status =
        from.OpenStorage(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, source.out());
    if (FAILED(status)) return status;
    if (FAILED(to.OpenStorage(new_name, nullptr, mode, nullptr, 0, copy.out()))) {
      status = to.CreateStorage(new_name, mode | STGM_CREATE, 0, 0, copy.out());
    }
    if (SUCCEEDED(status)) copies.emplace_back(std::move(source), std::move(copy));
    return status;
  }

  template <class LeavesOut>
  static HRESULT copy_all(Copies& copies, LeavesOut&& leaves_out) {
    while (!copies.empty()) {
      const auto [from, to] = std::move(copies.back());
      copies.pop_back();
      STATSTG own{};
      HRESULT status = from->Stat(&own, STATFLAG_NONAME);
      if (SUCCEEDED(status)) status = to->SetClass(own.clsid);
      if (SUCCEEDED(status)) status = to->SetStateBits(own.grfStateBits, ~DWORD{0});
      ComPtr<IEnumSTATSTG> list;
      if (SUCCEEDED(status)) status = from->EnumElements(0, nullptr, 0, list.out());
      STATSTG element{};
      while (SUCCEEDED(status) && (status = list->Next(1, &element, nullptr)) == S_OK) {
        if (!leaves_out(from.get(), element)) {
          status =
              copy_element(*from, element.pwcsName, element.type, *to, element.pwcsName, copies);
        }
        CoTaskMemFree(element.pwcsName);
      }
      if (FAILED(status)) return status;
    }
    return S_OK;
  }

  std::shared_ptr<Elements> elements_;
  std::shared_ptr<OpenElements> open_ = std::make_shared<OpenElements>();
  std::u16string name_;
  DWORD mode_;
  PlaceStorage place_;  // empty when the storage has its place, or is never to have one
};

std::string file_path(const OLECHAR* path) { return path_from_wide(path); }

}  // namespace
}  // namespace tallowbrook::platform

using namespace tallowbrook::platform;

HRESULT StgCreateDocfile(const OLECHAR* path, DWORD mode, DWORD, IStorage** storage) {
  if (storage == nullptr) return STG_E_INVALIDPOINTER;
  *storage = nullptr;
  if (FAILED(check_mode(mode)) || (mode & kAccess) == STGM_READ) return STG_E_INVALIDFLAG;
  return checked([&] {
    if (path == nullptr) {
      *storage = new Storage(nullptr, make_memory_elements(), {}, mode);
      return S_OK;
    }
    std::shared_ptr<Elements> made;
    bool exists = false;
    const std::string folder = file_path(path);
    HRESULT status = make_folder(folder, (mode & STGM_CREATE) != 0, made, exists);
    if (FAILED(status)) return status;
    PlaceStorage place = [folder](Elements& elements, Placing how) {
      return place_folder(folder, elements, how);
    };
    if (!exists) {
      status = place(*made, {false, true});
      if (FAILED(status)) return status;
      place = {};
    }
    *storage = new Storage(nullptr, std::move(made), path, mode, std::move(place));
    return S_OK;
  });
}

HRESULT StgOpenStorage(const OLECHAR* path, IStorage* priority, DWORD mode, SNB exclude, DWORD,
                       IStorage** storage) {
  if (storage == nullptr) return STG_E_INVALIDPOINTER;
  *storage = nullptr;
  if (path == nullptr) return STG_E_INVALIDNAME;
  if (FAILED(check_mode(mode)) || (mode & STGM_CREATE) != 0) return STG_E_INVALIDFLAG;
  if (priority != nullptr || exclude != nullptr) return STG_E_INVALIDPARAMETER;
  return checked([&] {
    std::shared_ptr<Elements> elements;
    const HRESULT status = open_folder(file_path(path), elements);
    if (FAILED(status)) return status;
    *storage = new Storage(nullptr, std::move(elements), path, mode);
    return S_OK;
  });
}

HRESULT StgIsStorageFile(const OLECHAR* path) {
  if (path == nullptr) return STG_E_INVALIDNAME;
  return checked([&] {
    std::shared_ptr<Elements> elements;
    const HRESULT status = open_folder(file_path(path), elements);
    return status == STG_E_FILEALREADYEXISTS ? S_FALSE : status;
  });
}
