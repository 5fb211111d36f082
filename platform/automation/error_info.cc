// The error object and the thread's slot for it.
#include <new>
#include <string>

#include "platform/automation/dispatch.h"
#include "platform/com/counted.h"

using namespace tallowbrook::platform;

namespace {

class ErrorInfo final : public Counted<IErrorInfo, ICreateErrorInfo> {
 public:
  HRESULT GetGUID(GUID* guid) override {
    if (guid == nullptr) return E_POINTER;
    *guid = guid_;
    return S_OK;
  }
  HRESULT GetSource(BSTR* source) override { return give(source_, source); }
  HRESULT GetDescription(BSTR* description) override { return give(description_, description); }
  HRESULT GetHelpFile(BSTR* file) override { return give(help_file_, file); }
  HRESULT GetHelpContext(DWORD* context) override {
    if (context == nullptr) return E_POINTER;
    *context = help_context_;
    return S_OK;
  }

  HRESULT SetGUID(REFGUID guid) override {
    guid_ = guid;
    return S_OK;
  }
  HRESULT SetSource(const OLECHAR* source) override { return take(source, source_); }
  HRESULT SetDescription(const OLECHAR* text) override { return take(text, description_); }
  HRESULT SetHelpFile(const OLECHAR* file) override { return take(file, help_file_); }
  HRESULT SetHelpContext(DWORD context) override {
    help_context_ = context;
    return S_OK;
  }

 private:
  // A text that was never set reads as a null BSTR.
  static HRESULT give(const Bstr& text, BSTR* target) {
    if (target == nullptr) return E_POINTER;
    *target = nullptr;
    if (text.get() == nullptr) return S_OK;
    *target = SysAllocStringLen(text.get(), SysStringLen(text.get()));
    return *target == nullptr ? E_OUTOFMEMORY : S_OK;
  }
  static HRESULT take(const OLECHAR* text, Bstr& target) {
    Bstr copy = Bstr::adopt(SysAllocString(text));
    if (text != nullptr && copy.get() == nullptr) return E_OUTOFMEMORY;
    target = std::move(copy);
    return S_OK;
  }

  GUID guid_{};
  Bstr source_;
  Bstr description_;
  Bstr help_file_;
  DWORD help_context_ = 0;
};

thread_local ComPtr<IErrorInfo> current_error;

}  // namespace

HRESULT CreateErrorInfo(ICreateErrorInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = new (std::nothrow) ErrorInfo;
  return *info == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) {
  if (reserved != 0) return E_INVALIDARG;
  current_error = ComPtr<IErrorInfo>(info);
  return S_OK;
}

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  if (reserved != 0) return E_INVALIDARG;
  if (!current_error) return S_FALSE;
  *info = current_error.detach();
  return S_OK;
}
