// The image lists of a node: one of small and one of large icons, each made when it is first asked
// for and kept.
#pragma once

#include <functional>
#include <memory>

#include "model/explorer_node.h"
#include "platform/shell/image_list.h"

namespace tallowbrook {

class NodeImages {
 public:
  // Gives the node's icon in a size, or null; destroyed by the caller.
  using IconSource = std::function<HICON(int size)>;

  // A new memory stream that holds the list, in the form of ImageList_Write; E_FAIL when there is
  // no list. `*stream` is not touched on failure. Throws std::bad_alloc.
  [[nodiscard]] HRESULT stream(ImageListKind kind, const IconSource& icon, IUnknown** stream);

 private:
  struct Destroy {
    void operator()(ImageList* list) const { ImageList_Destroy(list); }
    void operator()(Icon* icon) const { DestroyIcon(icon); }
  };
  using List = std::unique_ptr<ImageList, Destroy>;

  [[nodiscard]] static List make(int size, const IconSource& icon);

  List small_;
  List large_;
};

}  // namespace tallowbrook
