// A type library as its printers want it, read through ITypeLib and ITypeInfo as any browser of
// objects reads it.
#pragma once

#include <string>
#include <vector>

#include "platform/automation/typeinfo.h"

namespace tallowbrook::cli {

// A value's type in the words of interface definitions: "BSTR", "VARIANT*", "IMimeBody*".
struct TypeParameter {
  std::string name;
  std::string type;
  bool in = false;
  bool out = false;
  bool optional = false;
  bool has_default = false;
  std::string standard;  // the default: a number, or a text in quotes
};

struct TypeFunction {
  enum class Kind { kMethod, kGet, kPut };

  Kind kind = Kind::kMethod;
  std::string name;
  std::string help;
  std::int32_t id = 0;
  std::vector<TypeParameter> parameters;  // the value of a put included
  std::string result;                     // "void" for none
  bool hidden = false;
  bool restricted = false;
};

struct TypeConstant {
  std::string name;
  std::string help;
  std::int32_t value = 0;
};

struct TypeImplemented {
  std::string name;
  bool is_default = false;
  bool is_source = false;
};

struct TypeDescription {
  TYPEKIND kind = TKIND_ENUM;
  bool dual = false;
  std::string name;
  std::string help;
  std::string guid;     // without braces
  std::string base;     // of an interface
  std::string prog_id;  // of a class that can be created here, with its version
  std::vector<TypeFunction> functions;
  std::vector<TypeConstant> constants;
  std::vector<TypeImplemented> implements;  // of a class
};

struct TypeModel {
  std::string name;
  std::string help;
  std::string guid;
  std::string version;  // "1.0"
  std::uint32_t locale = 0;
  std::vector<TypeDescription> types;  // in the library's order
};

// Throws std::runtime_error when the library does not answer.
[[nodiscard]] TypeModel read_type_library(ITypeLib& library);

// The library as interface definitions.
[[nodiscard]] std::string to_interface_definitions(const TypeModel& model);

// The same as one JSON object.
[[nodiscard]] std::string to_json(const TypeModel& model);

}  // namespace tallowbrook::cli
