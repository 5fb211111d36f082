// A storage as a folder on disk.
//
//   <element>     a file for a stream, a folder for a storage (folder_names.h)
//   .storage      the mark of a storage, with its class and state bits as text
//   .tmp-<hex>    what is being written or removed; nobody looks at it
//   .gone         in a removed folder: who has it open clears it away
//
// Every element is written beside its place and renamed into it, so that readers in any process
// find the old one or the new one, and a process that is killed leaves at most a ".tmp-" behind,
// which `consolidate` clears away an hour later. The folder is held by a descriptor: renaming a
// folder above it, or deep nesting, does not matter. The descriptor has a shared lock (flock), and
// who removes or replaces a folder empties it only with an exclusive one: an open storage keeps its
// elements. Symbolic links and other kinds of files are no elements.
//
// The mark:
//   tallowbrook storage 1
//   class {00000000-0000-0000-0000-000000000000}
//   state 00000000
#pragma once

#include "platform/storage/elements.h"

namespace tallowbrook::platform {

// The storage in the folder `path`. STG_E_FILENOTFOUND, STG_E_FILEALREADYEXISTS for a file, or a
// folder without the mark.
HRESULT open_folder(const std::string& path, std::shared_ptr<Elements>& storage);

// A new storage for the place `path`, to be placed by `place_folder`; `exists` tells whether there
// is a storage that it will replace. STG_E_FILEALREADYEXISTS for what may not be replaced.
HRESULT make_folder(const std::string& path, bool replaces, std::shared_ptr<Elements>& storage,
                    bool& exists);
HRESULT place_folder(const std::string& path, Elements& made, Placing how);

}  // namespace tallowbrook::platform
