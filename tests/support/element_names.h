// What a storage holds, in its own order.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/storage/storage.h"

namespace tallowbrook::test {

using Names = std::vector<std::u16string>;

// "name", or "name/" for a storage.
inline Names names(IStorage& in) {
  Names all;
  platform::ComPtr<IEnumSTATSTG> list;
  EXPECT_EQ(in.EnumElements(0, nullptr, 0, list.out()), S_OK);
  for (STATSTG one{}; list->Next(1, &one, nullptr) == S_OK; CoTaskMemFree(one.pwcsName)) {
    all.emplace_back(one.pwcsName);
    if (one.type == STGTY_STORAGE) all.back() += u'/';
  }
  return all;
}

}  // namespace tallowbrook::test
