// CWinSockException: what every failing socket call throws.
#pragma once

#include <exception>

namespace tallowbrook {

class CWinSockException final : public std::exception {
 public:
  explicit CWinSockException(int code) : code_(code) {}
  // The exception of the thread's last socket error.
  [[nodiscard]] static CWinSockException last();

  [[nodiscard]] int code() const { return code_; }
  // The English text of the code; the same one for all codes that have none of their own.
  [[nodiscard]] const char* what() const noexcept override;

 private:
  int code_;
};

}  // namespace tallowbrook
