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
    if (trouble_.strikes()) return trouble_.status;
    platform::ComPtr<IEnumSTATSTG> made;
    const HRESULT status = inner_->Clone(made.out());
    if (SUCCEEDED(status)) *clone = make_object<HostElements>(made, trouble_).detach();
    return status;
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
    platform::ComPtr<IStorage> made;
    if (trouble_.strikes()) return trouble_.status;
    return wrap(inner_->CreateStorage(name, mode, 0, 0, made.out()), made, out);
  }
  HRESULT OpenStorage(const OLECHAR* name, IStorage*, DWORD mode, SNB, DWORD,
                      IStorage** out) override {
    platform::ComPtr<IStorage> made;
    if (trouble_.strikes()) return trouble_.status;
    return wrap(inner_->OpenStorage(name, nullptr, mode, nullptr, 0, made.out()), made, out);
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
    if (trouble_.strikes()) return trouble_.status;
    platform::ComPtr<IEnumSTATSTG> made;
    const HRESULT status = inner_->EnumElements(0, nullptr, 0, made.out());
    if (SUCCEEDED(status)) *out = make_object<HostElements>(made, trouble_).detach();
    return status;
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
  HRESULT wrap(HRESULT status, const platform::ComPtr<IStorage>& made, IStorage** out) {
    if (SUCCEEDED(status)) *out = make_object<HostStorage>(made, trouble_).detach();
    return status;
  }

  platform::ComPtr<IStorage> inner_;
  Trouble& trouble_;
};

}  // namespace tallowbrook::test
