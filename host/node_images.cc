#include "host/node_images.h"

#include "platform/shell/system_metrics.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

NodeImages::List NodeImages::make(int size, const IconSource& icon) {
  const std::unique_ptr<Icon, Destroy> loaded(icon(size));
  if (!loaded) return nullptr;
  List list(ImageList_Create(size, size, ILC_COLOR24 | ILC_MASK, 0, 1));
  if (ImageList_AddIcon(list.get(), loaded.get()) < 0) return nullptr;
  return list;
}

HRESULT NodeImages::stream(ImageListKind kind, const IconSource& icon, IUnknown** stream) {
  const bool small = kind == ImageListKind::kSmall;
  List& list = small ? small_ : large_;
  if (!list) list = make(GetSystemMetrics(small ? SM_CXSMICON : SM_CXICON), icon);
  if (!list) return E_FAIL;
  const auto written = CISSHelper::create();
  if (ImageList_Write(list.get(), written.get()) == FALSE) return E_FAIL;
  written->rewind();
  *stream = written.query<IUnknown>().detach();
  return S_OK;
}

}  // namespace tallowbrook
