// A host's own storage, over one of the platform's, some of whose calls fail or give nothing.
#pragma once

#include <utility>

#include "core/object.h"
#include "platform/storage/storage.h"

namespace tallowbrook::test {

// Shared by a storage and all that is opened from it.
struct Trouble {
  int first = 0;     // the call that goes wrong
  int last = 0;      // the last one that does
  HRESULT status{};  // what they answer; their out-parameters stay null
  int calls = 0;

  [[nodiscard]] bool strikes() {
    const int call = calls++;
    return call >= first && call <= last;
  }
  // Gives out a Host around what `call` puts into its argument.
  template <class Host, class I, class Call>
  HRESULT wrap(I** out, Call&& call) {
    if (strikes()) return status;
    platform::ComPtr<I> made;
    const HRESULT outcome = call(made.out());
    if (SUCCEEDED(outcome)) *out = make_object<Host>(made, *this).detach();
    return outcome;
  }
};

class HostElements final : public Object<Shared, IEnumSTATSTG> {
 public:
  HostElements(platform::ComPtr<IEnumSTATSTG> inner, Trouble& trouble)
      : inner_(std::move(inner)), trouble_(trouble) {}

  HRESULT Next(ULONG wanted, STATSTG* elements, ULONG* fetched) override {
    return trouble_.strikes() ? trouble_.status : inner_->Next(wanted, elements, fetched);
  }
  HRESULT Skip(ULONG count) override { return inner_->Skip(count); }
  HRESULT Reset() override { return inner_->Reset(); }
  HRESULT Clone(IEnumSTATSTG** clone) override {
    return trouble_.wrap<HostElements>(clone, [&](auto out) { return inner_->Clone(out); });
  }

 private:
  platform::ComPtr<IEnumSTATSTG> inner_;
  Trouble& trouble_;
};

class HostStorage final : public Object<Shared, IStorage> {
 public:
  HostStorage(platform::ComPtr<IStorage> inner, Trouble& trouble)
      : inner_(std::move(inner)), trouble_(trouble) {}

  HRESULT CreateStream(const OLECHAR* name, DWORD mode, DWORD, DWORD, IStream** out) override {
    return trouble_.strikes() ? trouble_.status : inner_->CreateStream(name, mode, 0, 0, out);
  }
  HRESULT OpenStream(const OLECHAR* name, void*, DWORD mode, DWORD, IStream** out) override {
    return trouble_.strikes() ? trouble_.status : inner_->OpenStream(name, nullptr, mode, 0, out);
  }
  HRESULT CreateStorage(const OLECHAR* name, DWORD mode, DWORD, DWORD, IStorage** out) override {
    return trouble_.wrap<HostStorage>(
        out, [&](auto made) { return inner_->CreateStorage(name, mode, 0, 0, made); });
  }
  HRESULT OpenStorage(const OLECHAR* name, IStorage*, DWORD mode, SNB, DWORD,
                      IStorage** out) override {
    return trouble_.wrap<HostStorage>(
        out, [&](auto made) { return inner_->OpenStorage(name, nullptr, mode, nullptr, 0, made); });
  }
  HRESULT CopyTo(DWORD, const IID*, SNB, IStorage*) override { return E_NOTIMPL; }
  HRESULT MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override {
    return E_NOTIMPL;
  }
  HRESULT Commit(DWORD flags) override {
    return trouble_.strikes() ? trouble_.status : inner_->Commit(flags);
  }
  HRESULT Revert() override { return inner_->Revert(); }
  HRESULT EnumElements(DWORD, void*, DWORD, IEnumSTATSTG** out) override {
    return trouble_.wrap<HostElements>(
        out, [&](auto made) { return inner_->EnumElements(0, nullptr, 0, made); });
  }
  HRESULT DestroyElement(const OLECHAR* name) override { return inner_->DestroyElement(name); }
  HRESULT RenameElement(const OLECHAR*, const OLECHAR*) override { return E_NOTIMPL; }
  HRESULT SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*,
                          const FILETIME*) override {
    return E_NOTIMPL;
  }
  HRESULT SetClass(REFCLSID) override { return E_NOTIMPL; }
  HRESULT SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }

 private:
  platform::ComPtr<IStorage> inner_;
  Trouble& trouble_;
};

}  // namespace tallowbrook::test
