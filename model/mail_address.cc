#include "model/mail_address.h"

#include <ext/atomicity.h>

#include <vector>

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/header_text.h"

namespace tallowbrook {

using platform::Bstr;
using platform::ComPtr;
using platform::Variant;

namespace {

// Runs `text`, which yields a BSTR, into an out-parameter.
template <class Text>
HRESULT yield_text(BSTR* target, Text&& text) {
  if (target == nullptr) return E_POINTER;
  *target = nullptr;
  return guarded([&] {
    *target = text().detach();
    return S_OK;
  });
}

// Stores a host's text where `target` says.
template <class Target>
HRESULT store_text(BSTR text, Target&& target) {
  return guarded([&] {
    target() = to_ansi(platform::view_of(text));
    return S_OK;
  });
}

// The bracketed part of an address, brackets kept; what follows a "<" that is never closed.
std::u16string_view bracketed(std::u16string_view text) {
  const std::size_t open = text.find(u'<');
  if (open == std::u16string_view::npos) return text;
  const std::size_t close = text.find(u'>', open);
  if (close == std::u16string_view::npos) return text.substr(open + 1);
  return text.substr(open, close - open + 1);
}

}  // namespace

// --- many in one block ---------------------------------------------------------------------------

// The objects may belong each to another thread, so they count themselves out atomically where
// there are threads.
struct CMailAddress::Block {
  explicit Block(SharedAddresses addresses)
      : list(std::move(addresses)), alive(static_cast<_Atomic_word>(list->size())) {}

  [[nodiscard]] CMailAddress* objects() { return reinterpret_cast<CMailAddress*>(this + 1); }
  void count_out() {
    if (__gnu_cxx::__exchange_and_add_dispatch(&alive, -1) > 1) return;
    this->~Block();
    ::operator delete(this);
  }

  SharedAddresses list;
  _Atomic_word alive;
  ModuleLock lock;
};

ErasableVector<Variant> CMailAddress::all_of(SharedAddresses list) {
  static_assert(alignof(CMailAddress) <= alignof(Block));
  const std::size_t count = list->size();
  // Written where they stay: a copy right behind the writes of its parts would wait for them.
  std::vector<Variant> objects(count);
  if (count == 0) return {};
  void* const memory = ::operator new(sizeof(Block) + count * sizeof(CMailAddress));
  auto& block = *::new (memory) Block(std::move(list));
  for (std::size_t i = 0; i < count; ++i) {
    objects[i].vt = VT_DISPATCH;
    objects[i].pdispVal =
        ::new (block.objects() + i) CMailAddress(block, static_cast<std::uint32_t>(i));
  }
  return ErasableVector(std::move(objects));
}

void CMailAddress::operator delete(CMailAddress* dying, std::destroying_delete_t) noexcept {
  Block* const block = dying->block_;
  dying->~CMailAddress();
  if (block != nullptr) {
    block->count_out();
  } else {
    ::operator delete(static_cast<void*>(dying));
    Module::unlock();
  }
}

// --- the texts -----------------------------------------------------------------------------------

ComPtr<CMailAddress> CMailAddress::of(std::string_view address, std::string_view name) {
  auto object = make_object<CMailAddress>();
  object->texts_.reset(new Texts{std::string(address), std::string(name), {}});
  return object;
}

const AddressList* CMailAddress::list() const {
  return texts_ || block_ == nullptr ? nullptr : block_->list.get();
}

std::string_view CMailAddress::address_raw() const {
  if (texts_) return texts_->address;
  return block_ == nullptr ? std::string_view() : block_->list->address(index_);
}

std::string_view CMailAddress::name_raw() const {
  if (texts_) return texts_->name;
  return block_ == nullptr ? std::string_view() : block_->list->name(index_);
}

CMailAddress::Texts& CMailAddress::own() {
  if (!texts_) texts_.reset(new Texts{std::string(address_raw()), std::string(name_raw()), {}});
  return *texts_;
}

// --- the members ---------------------------------------------------------------------------------

HRESULT CMailAddress::QueryInterface(REFIID iid, void** object) {
  if (object != nullptr && iid == kOwnIid) {
    AddRef();
    *object = this;
    return S_OK;
  }
  return Object::QueryInterface(iid, object);
}

HRESULT CMailAddress::get_Address(BSTR* address) {
  return yield_text(address, [&] {
    const AddressList* const mailboxes = list();
    if (mailboxes != nullptr && mailboxes->usual_addresses()) {
      return ascii_to_bstr(mailboxes->address(index_));
    }
    const std::string_view text = trim(address_raw());
    const bool encoded = text.find("=?") != std::string_view::npos;
    const std::u16string wide = encoded ? decode_header_text(text) : to_wide(text);
    return Bstr(bracketed(wide));
  });
}

HRESULT CMailAddress::put_Address(BSTR address) {
  return store_text(address, [&]() -> std::string& { return own().address; });
}

HRESULT CMailAddress::get_NameRaw(BSTR* name) {
  return yield_text(name, [&] { return to_bstr(name_raw()); });
}

HRESULT CMailAddress::put_NameRaw(BSTR name) {
  return store_text(name, [&]() -> std::string& { return own().name; });
}

HRESULT CMailAddress::get_Name(BSTR* name) {
  return yield_text(name, [&] {
    using Form = AddressList::NameForm;
    const AddressList* const mailboxes = list();
    const Form form = mailboxes == nullptr ? Form::kAny : mailboxes->name_form(index_);
    if (form == Form::kAny) return header_text_to_bstr(name_raw());
    const std::string_view text = mailboxes->name(index_);
    const std::size_t quotes = form == Form::kQuoted ? 1 : 0;  // at either end
    return ascii_to_bstr(text.substr(quotes, text.size() - 2 * quotes));
  });
}

HRESULT CMailAddress::put_Name(BSTR name) {
  return guarded([&] {
    Texts& texts = own();
    texts.name = encode_header_text(platform::view_of(name), texts.charset);
    return S_OK;
  });
}

HRESULT CMailAddress::get_RouteAddress(BSTR* address) {
  return yield_text(address, [&] { return to_bstr(route_address()); });
}

HRESULT CMailAddress::put_Charset(BSTR charset) {
  return store_text(charset, [&]() -> std::string& { return own().charset; });
}

std::string CMailAddress::route_address() const {
  if (address_raw().empty()) return {};
  std::string route(trim(address_raw()));
  if (!route.starts_with('<')) route.insert(0, 1, '<');
  if (!route.ends_with('>')) route += '>';
  return route;
}

HRESULT create_mail_address(REFIID iid, void** object) {
  return create_instance<CMailAddress>(iid, object);
}

}  // namespace tallowbrook
