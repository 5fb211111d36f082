// The enumerator of a storage's elements: their names as they were when it was made or reset. What
// is told of each is looked up when it is its turn; one that is gone by then is passed over.
#include <algorithm>
#include <memory>
#include <new>

#include "platform/com/activation.h"
#include "platform/com/checked.h"
#include "platform/com/counted.h"
#include "platform/storage/open_element.h"

namespace tallowbrook::platform {
namespace {

using Names = std::vector<ElementName>;

class ElementList final : public Counted<IEnumSTATSTG> {
 public:
  ElementList(std::shared_ptr<Elements> elements, std::shared_ptr<const Names> names,
              std::size_t position)
      : elements_(std::move(elements)), names_(std::move(names)), position_(position) {}

  HRESULT Next(ULONG wanted, STATSTG* elements, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (elements == nullptr || (fetched == nullptr && wanted != 1)) return STG_E_INVALIDPOINTER;
    ULONG count = 0;
    HRESULT status = S_OK;
    std::size_t next = position_;
    for (; SUCCEEDED(status) && count < wanted && next < names_->size(); ++next) {
      status = tell((*names_)[next], elements[count]);
      if (SUCCEEDED(status)) ++count;
      if (status == STG_E_FILENOTFOUND) status = S_OK;
    }
    if (FAILED(status)) {
      for (ULONG i = 0; i < count; ++i) CoTaskMemFree(elements[i].pwcsName);
      return status;
    }
    position_ = next;
    if (fetched != nullptr) *fetched = count;
    return count < wanted ? S_FALSE : S_OK;
  }

  HRESULT Skip(ULONG count) override {
    const std::size_t left = names_->size() - position_;
    position_ += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }

  HRESULT Reset() override {
    return checked([&] {
      auto names = std::make_shared<Names>();
      const HRESULT status = elements_->list(*names);
      if (FAILED(status)) return status;
      names_ = std::move(names);
      position_ = 0;
      return S_OK;
    });
  }

  HRESULT Clone(IEnumSTATSTG** clone) override {
    if (clone == nullptr) return STG_E_INVALIDPOINTER;
    *clone = new (std::nothrow) ElementList(elements_, names_, position_);
    return *clone == nullptr ? E_OUTOFMEMORY : S_OK;
  }

 private:
  HRESULT tell(const ElementName& element, STATSTG& stat) {
    stat = {};
    return checked([&] {
      ElementFacts facts;
      const HRESULT status = elements_->facts(element.name, facts);
      if (FAILED(status)) return status;
      stat.type = facts.type;
      stat.cbSize.QuadPart = facts.size;
      stat.mtime = facts.modified;
      stat.ctime = facts.created;
      stat.atime = facts.accessed;
      stat.clsid = facts.clsid;
      stat.grfStateBits = facts.state_bits;
      stat.pwcsName = task_copy(element.name);
      return S_OK;
    });
  }

  std::shared_ptr<Elements> elements_;
  std::shared_ptr<const Names> names_;
  std::size_t position_;
};

}  // namespace

IEnumSTATSTG* new_element_list(std::shared_ptr<Elements> elements) {
  return new ElementList(std::move(elements), std::make_shared<Names>(), 0);
}

}  // namespace tallowbrook::platform
