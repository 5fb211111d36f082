// What a sending object says with a mail server, as it tells it on the debug output.
//
// The component's socket object gives a script no more than true or false. Its debug output has a
// line for each thing that it does (tallowbrook/client_socket.h describes them), from which this
// host learns what the server answered to each command.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tallowbrook::cli {

struct Exchange {
  std::string command;  // empty for the greeting
  std::string reply;    // its lines, joined with line ends; empty when none came

  // True when the reply has this code.
  [[nodiscard]] bool answered(std::string_view code) const {
    return reply.substr(0, code.size()) == code;
  }
};

// Listens to the debug output for the life of the object. One at a time.
class Dialogue {
 public:
  // `verbose`: each line is printed as it comes.
  explicit Dialogue(bool verbose);
  ~Dialogue();
  Dialogue(const Dialogue&) = delete;
  Dialogue& operator=(const Dialogue&) = delete;

  // Forgets what was said.
  void start();
  [[nodiscard]] const std::vector<Exchange>& exchanges() const { return exchanges_; }
  // The last exchange whose command begins with `verb`; an empty one for none.
  [[nodiscard]] Exchange last(std::string_view verb) const;
  // True when a connection was made.
  [[nodiscard]] bool connected() const { return connected_; }
  // The reason of the last failure, empty for none.
  [[nodiscard]] const std::string& failure() const { return failure_; }

 private:
  void hear(std::string_view text);

  bool verbose_;
  bool connected_ = false;
  std::vector<Exchange> exchanges_;
  std::string failure_;
};

}  // namespace tallowbrook::cli
