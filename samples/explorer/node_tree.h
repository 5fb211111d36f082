// The messages of a folder as a tree of nodes, each asked for what a node shows of itself.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "samples/explorer/message_file.h"
#include "samples/explorer/object.h"

namespace bramblescope {

class NameListener;

struct Node {
  ComPtr<IDispatch> object;           // null for a file that holds no message
  std::shared_ptr<MessageFile> file;  // null for a node inside another one
  std::string name;                   // UTF-8, safe for a terminal
  char icon = '!';                    // the letter that stands for the node's picture
  int depth = 0;
  std::shared_ptr<NameListener> listener;

  [[nodiscard]] bool changed() const { return file != nullptr && file->changed(); }
};

class NodeTree {
 public:
  // Reads all files whose names end in ".eml" (in any case), in the order of their names. Throws
  // std::runtime_error when the folder cannot be read.
  explicit NodeTree(const std::filesystem::path& folder);

  // Depth first; nodes that told of a new name have it.
  [[nodiscard]] const std::vector<Node>& nodes();

 private:
  void add_file(const std::filesystem::path& path);
  void add_with_children(Node root);

  std::vector<Node> nodes_;
};

// A name as one line of UTF-8 that steers no terminal.
[[nodiscard]] std::string shown(std::u16string_view text);

// Reads a property that is a text; empty when it is none.
[[nodiscard]] std::u16string read_text(IDispatch& object, std::u16string_view property);

}  // namespace bramblescope
