// A storage in memory: a map of names.
#include <ctime>
#include <map>
#include <utility>

#include "platform/storage/elements.h"
#include "platform/storage/file_time.h"

namespace tallowbrook::platform {
namespace {

class MemoryElements;

FILETIME now() {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  return file_time(time);
}

struct Element {
  std::shared_ptr<MemoryElements> storage;  // or a stream
  Content content;
  ElementFacts times;
};

class MemoryElements final : public Elements, public std::enable_shared_from_this<MemoryElements> {
 public:
  MemoryElements() { own_.created = own_.accessed = own_.modified = now(); }

  // Storages may be nested as deep as a host likes.
  ~MemoryElements() override {
    std::shared_ptr<MemoryElements> dying;
    give_up_storages(dying);
    while (dying) {
      const auto storage = std::move(dying);
      dying = std::move(storage->next_);
      storage->give_up_storages(dying);
    }
  }

  HRESULT list(std::vector<ElementName>& names) override {
    names.clear();
    names.reserve(elements_.size());
    for (const auto& [name, element] : elements_) {
      names.push_back({name, element.storage ? STGTY_STORAGE : STGTY_STREAM});
    }
    return S_OK;
  }

  HRESULT facts(std::u16string_view name, ElementFacts& facts) override {
    const auto found = elements_.find(name);
    if (found == elements_.end()) return STG_E_FILENOTFOUND;
    const Element& element = found->second;
    if (element.storage) return element.storage->own_facts(facts);
    facts = element.times;
    facts.type = STGTY_STREAM;
    facts.size = element.content->size();
    return S_OK;
  }

  HRESULT own_facts(ElementFacts& facts) override {
    facts = own_;
    facts.type = STGTY_STORAGE;
    return S_OK;
  }

  HRESULT read(std::u16string_view name, Content& content) override {
    const auto found = elements_.find(name);
    if (found == elements_.end() || found->second.storage) return STG_E_FILENOTFOUND;
    content = found->second.content;
    return S_OK;
  }

  HRESULT open(std::u16string_view name, std::shared_ptr<Elements>& storage) override {
    const auto found = elements_.find(name);
    if (found == elements_.end() || !found->second.storage) return STG_E_FILENOTFOUND;
    storage = found->second.storage;
    return S_OK;
  }

  HRESULT make(std::shared_ptr<Elements>& storage) override {
    storage = make_memory_elements();
    return S_OK;
  }

  HRESULT place(std::u16string_view name, const Content& content, Placing how) override {
    Element element;
    element.content = content;
    element.times.created = element.times.accessed = element.times.modified = now();
    return put(name, std::move(element), how);
  }

  HRESULT place(std::u16string_view name, Elements& made_here, Placing how) override {
    Element element;
    element.storage = static_cast<MemoryElements&>(made_here).shared_from_this();
    return put(name, std::move(element), how);
  }

  HRESULT remove(std::u16string_view name) override {
    const auto found = elements_.find(name);
    if (found == elements_.end()) return STG_E_FILENOTFOUND;
    elements_.erase(found);
    own_.modified = now();
    return S_OK;
  }

  HRESULT rename(std::u16string_view name, std::u16string_view new_name) override {
    const auto found = elements_.find(name);
    if (found == elements_.end()) return STG_E_FILENOTFOUND;
    if (elements_.find(new_name) != elements_.end()) return STG_E_FILEALREADYEXISTS;
    std::u16string key(new_name);
    auto element = elements_.extract(found);
    element.key() = std::move(key);
    elements_.insert(std::move(element));
    own_.modified = now();
    return S_OK;
  }

  HRESULT set_times(std::u16string_view name, const ElementTimes& times) override {
    ElementFacts* facts = &own_;
    if (!name.empty()) {
      const auto found = elements_.find(name);
      if (found == elements_.end()) return STG_E_FILENOTFOUND;
      facts = found->second.storage ? &found->second.storage->own_ : &found->second.times;
    }
    if (times.created != nullptr) facts->created = *times.created;
    if (times.accessed != nullptr) facts->accessed = *times.accessed;
    if (times.modified != nullptr) facts->modified = *times.modified;
    return S_OK;
  }

  HRESULT set_identity(const CLSID& clsid, DWORD state_bits) override {
    own_.clsid = clsid;
    own_.state_bits = state_bits;
    return S_OK;
  }

  HRESULT flush() override { return S_OK; }
  void consolidate() override {}

 private:
  HRESULT put(std::u16string_view name, Element element, Placing how) {
    const auto found = elements_.find(name);
    if (found == elements_.end()) {
      elements_.emplace(name, std::move(element));
    } else if (how.replaces) {
      if (!element.storage && !found->second.storage) {
        element.times.created = found->second.times.created;
      }
      std::swap(found->second, element);
    } else {
      return STG_E_FILEALREADYEXISTS;
    }
    own_.modified = now();
    return S_OK;
  }

  // Puts the storages that nobody else holds before `list`, which is linked by `next_`.
  void give_up_storages(std::shared_ptr<MemoryElements>& list) {
    for (auto& [name, element] : elements_) {
      if (!element.storage || element.storage.use_count() > 1) continue;
      element.storage->next_ = std::move(list);
      list = std::move(element.storage);
    }
  }

  std::map<std::u16string, Element, std::less<>> elements_;
  ElementFacts own_;
  std::shared_ptr<MemoryElements> next_;
};

}  // namespace

std::shared_ptr<Elements> make_memory_elements() { return std::make_shared<MemoryElements>(); }

bool is_element_name(std::u16string_view name) {
  constexpr std::size_t kMostUnits = 31;
  return !name.empty() && name.size() <= kMostUnits &&
         name.find(u'\0') == std::u16string_view::npos;
}

}  // namespace tallowbrook::platform
