// CMailAddress: one mail address that a host holds, a copy of its own.
//
// The addresses of a field are made at once, in one block of memory, and look into the field's list
// of mailboxes until they are changed; block and list live as long as one of them does.
#pragma once

#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "core/erasable_vector.h"
#include "core/object.h"
#include "model/address_list.h"
#include "platform/automation/variant.h"
#include "tallowbrook/mail_address.h"

namespace tallowbrook {

class CMailAddress final : public Object<ConfinedInBlock, Dispatching<IMailAddress>> {
 public:
  CMailAddress() noexcept { Module::lock(); }
  // Throws std::bad_alloc.
  [[nodiscard]] static platform::ComPtr<CMailAddress> of(std::string_view address,
                                                         std::string_view name);
  // A new object for each mailbox of the list, in its order. Throws std::bad_alloc.
  [[nodiscard]] static ErasableVector<platform::Variant> all_of(SharedAddresses list);

  // The one identity by which the component knows its own addresses (never leaves it).
  static constexpr GUID kOwnIid{
      0x8E0B7A41, 0x6C52, 0x4F0E, {0xA9, 0x3D, 0x1B, 0x57, 0x02, 0xC4, 0x9F, 0x66}};
  HRESULT QueryInterface(REFIID iid, void** object) override;

  HRESULT get_Address(BSTR* address) override;
  HRESULT put_Address(BSTR address) override;
  HRESULT get_NameRaw(BSTR* name) override;
  HRESULT put_NameRaw(BSTR name) override;
  HRESULT get_Name(BSTR* name) override;
  HRESULT put_Name(BSTR name) override;
  HRESULT get_RouteAddress(BSTR* address) override;
  HRESULT put_Charset(BSTR charset) override;

  [[nodiscard]] std::string_view address_raw() const;
  [[nodiscard]] std::string_view name_raw() const;
  [[nodiscard]] std::string route_address() const;

  static void operator delete(CMailAddress* dying, std::destroying_delete_t) noexcept;

 private:
  // Many addresses in one block, behind this header.
  struct Block;
  struct Texts {
    std::string address;  // as stored: perhaps in brackets, between blanks, with encoded words
    std::string name;     // encoded words not decoded
    std::string charset;  // for names that are put
  };

  CMailAddress(Block& block, std::uint32_t index) noexcept : index_(index), block_(&block) {}

  // Null unless the texts are those of a mailbox of the list.
  [[nodiscard]] const AddressList* list() const;

  // The texts to change; from then on the object looks into no list.
  [[nodiscard]] Texts& own();

  std::uint32_t index_ = 0;       // in the block
  Block* block_ = nullptr;        // null for an object of its own
  std::unique_ptr<Texts> texts_;  // null while the texts are those of the block's list, or empty
};

}  // namespace tallowbrook
