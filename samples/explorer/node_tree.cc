#include "samples/explorer/node_tree.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "cli/terminal.h"
#include "platform/automation/late_bound.h"
#include "platform/com/connection_point.h"
#include "platform/shell/image_list.h"

#include "tallowbrook/events.h"

namespace bramblescope {

using tallowbrook::_IAccessorEvents;

namespace {

// The sink that a node tells of changes.
class NameSink final : public Object<IDispatch> {
 public:
  [[nodiscard]] bool take_changed() { return std::exchange(changed_, false); }

  HRESULT QueryInterface(REFIID iid, void** object) override {
    return Object::QueryInterface(iid == _IAccessorEvents::kIid ? IDispatch::kIid : iid, object);
  }
  HRESULT GetTypeInfoCount(UINT* count) override { return give(0U, count); }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, OLECHAR**, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                 UINT*) override {
    if (event == _IAccessorEvents::kChanged) changed_ = true;
    return S_OK;
  }

 private:
  bool changed_ = false;
};

}  // namespace

// Hears from a node that its name has changed.
class NameListener {
 public:
  explicit NameListener(const ComPtr<IDispatch>& node) {
    const auto container = node.query<IConnectionPointContainer>();
    if (container) container->FindConnectionPoint(_IAccessorEvents::kIid, point_.out());
    if (point_ && FAILED(point_->Advise(sink_.get(), &cookie_))) point_.reset();
  }
  ~NameListener() {
    if (point_) point_->Unadvise(cookie_);
  }
  NameListener(const NameListener&) = delete;
  NameListener& operator=(const NameListener&) = delete;

  // True once after each change.
  [[nodiscard]] bool take_changed() { return sink_->take_changed(); }

 private:
  ComPtr<NameSink> sink_ = ComPtr<NameSink>::adopt(new NameSink);
  ComPtr<IConnectionPoint> point_;
  DWORD cookie_ = 0;
};

namespace {

namespace fs = std::filesystem;
namespace platform = tallowbrook::platform;

constexpr int kDeepest = 32;
constexpr LONG kMostChildren = 10000;

// The number of pictures in the node's list of small images.
int picture_count(IDispatch& node) {
  const auto outcome = platform::get(&node, u"SmallImageList");
  if (FAILED(outcome.status) || outcome.value.vt != VT_UNKNOWN) return 0;
  const auto stream = platform::query<IStream>(outcome.value.punkVal);
  const HIMAGELIST list = ImageList_Read(stream.get());
  const int count = ImageList_GetImageCount(list);
  ImageList_Destroy(list);
  return count;
}

// A terminal has no pictures: a node that has one is shown by the first letter of its type.
char icon_of(IDispatch& node) {
  const std::string type = shown(read_text(node, u"ID"));
  if (type.empty() || picture_count(node) == 0) return '-';
  return static_cast<char>(std::toupper(static_cast<unsigned char>(type[0])));
}

Node node_of(const ComPtr<IDispatch>& object, int depth) {
  Node node;
  node.object = object;
  node.name = shown(read_text(*object, u"Name"));
  node.icon = icon_of(*object);
  node.depth = depth;
  node.listener = std::make_shared<NameListener>(object);
  return node;
}

LONG child_count(IDispatch& node) {
  const auto has = platform::get(&node, u"HasChildren");
  const auto count = platform::get(&node, u"Count");
  if (has.value.vt != VT_I4 || has.value.lVal == 0 || count.value.vt != VT_I4) return 0;
  return std::clamp(count.value.lVal, LONG{0}, kMostChildren);
}

bool is_message_name(const fs::path& path) {
  return ::strcasecmp(path.extension().c_str(), ".eml") == 0;
}

std::vector<fs::path> message_files(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::end(entry);
       entry.increment(error)) {
    if (is_message_name(entry->path()) && entry->is_regular_file(error)) {
      files.push_back(entry->path());
    }
  }
  if (error) throw std::runtime_error(error.message());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

std::string shown(std::u16string_view text) {
  return tallowbrook::cli::printable(tallowbrook::cli::unfold(tallowbrook::cli::to_utf8(text)));
}

std::u16string read_text(IDispatch& object, std::u16string_view property) {
  return std::u16string(platform::get(&object, property).value.text());
}

NodeTree::NodeTree(const fs::path& folder) {
  for (const fs::path& file : message_files(folder)) add_file(file);
}

void NodeTree::add_file(const fs::path& path) {
  const auto file = std::make_shared<MessageFile>(path);
  Node node;
  if (file->message()) {
    node = node_of(file->message().query<IDispatch>(), 0);
  } else {
    node.name = tallowbrook::cli::printable(path.filename().string() + ": " + file->problem());
  }
  node.file = file;
  add_with_children(std::move(node));
}

// Without recursion: an explorer cannot know how deep a tree is.
void NodeTree::add_with_children(Node root) {
  std::vector<Node> waiting;
  waiting.push_back(std::move(root));
  while (!waiting.empty()) {
    nodes_.push_back(std::move(waiting.back()));
    waiting.pop_back();
    const ComPtr<IDispatch> object = nodes_.back().object;
    const int depth = nodes_.back().depth + 1;
    if (!object || depth > kDeepest) continue;
    for (LONG i = child_count(*object) - 1; i >= 0; --i) {  // the first comes off first
      const auto child = platform::get(object.get(), u"Item", i);
      if (child.value.vt != VT_DISPATCH || child.value.pdispVal == nullptr) continue;
      waiting.push_back(node_of(ComPtr<IDispatch>(child.value.pdispVal), depth));
    }
  }
}

const std::vector<Node>& NodeTree::nodes() {
  for (Node& node : nodes_) {
    if (node.listener && node.listener->take_changed()) {
      node.name = shown(read_text(*node.object, u"Name"));
    }
  }
  return nodes_;
}

}  // namespace bramblescope
