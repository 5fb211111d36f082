// The printed forms of a type library: interface definitions, and JSON for programs.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "cli/type_model.h"

namespace tallowbrook::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

std::string id_text(std::int32_t id) {
  if (id < 0) return std::to_string(id);
  char text[16];
  std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(id));
  return text;
}

std::string help_attribute(const std::string& help) {
  return help.empty() ? std::string() : ", helpstring(" + quoted(help) + ")";
}

std::string parameter_text(const TypeParameter& parameter) {
  std::string attributes = parameter.in ? "in" : "";
  const auto add = [&](const std::string& more) {
    if (!attributes.empty()) attributes += ", ";
    attributes += more;
  };
  if (parameter.out) add("out");
  if (parameter.optional && !parameter.has_default) add("optional");
  if (parameter.has_default) add("defaultvalue(" + parameter.standard + ")");
  return "[" + attributes + "] " + parameter.type + " " + parameter.name;
}

std::string function_text(const TypeFunction& function, bool dual) {
  std::string out = "        [id(" + id_text(function.id) + ")";
  if (function.kind == TypeFunction::Kind::kGet) out += ", propget";
  if (function.kind == TypeFunction::Kind::kPut) out += ", propput";
  if (function.restricted) out += ", restricted";
  if (function.hidden) out += ", hidden";
  out += help_attribute(function.help) + "]\n        ";
  std::string parameters;
  for (const TypeParameter& parameter : function.parameters) {
    if (!parameters.empty()) parameters += ", ";
    parameters += parameter_text(parameter);
  }
  if (dual && function.result != "void") {
    if (!parameters.empty()) parameters += ", ";
    parameters += "[out, retval] " + function.result + "* pVal";
  }
  return out + (dual ? "HRESULT " : function.result + " ") + function.name + "(" + parameters +
         ");\n";
}

// What stands before the body of a type.
std::string head_text(const TypeDescription& type, const char* more) {
  return "\n    [\n        uuid(" + type.guid + ")" + more + help_attribute(type.help) +
         "\n    ]\n    ";
}

void append_enumeration(std::string& out, const TypeDescription& type) {
  out += head_text(type, "") + "typedef enum " + type.name + " {\n";
  for (const TypeConstant& constant : type.constants) {
    if (!constant.help.empty()) out += "        [helpstring(" + quoted(constant.help) + ")]\n";
    out += "        " + constant.name + " = " + std::to_string(constant.value) +
           (&constant == &type.constants.back() ? "\n" : ",\n");
  }
  out += "    } " + type.name + ";\n";
}

void append_interface(std::string& out, const TypeDescription& type) {
  const bool events = type.kind == TKIND_DISPATCH && !type.dual;
  if (events) {
    out +=
        head_text(type, "") + "dispinterface " + type.name + " {\n    properties:\n    methods:\n";
  } else {
    const char* const more = type.dual ? ", dual, oleautomation" : "";
    out += head_text(type, more) + "interface " + type.name + " : " + type.base + " {\n";
  }
  for (const TypeFunction& function : type.functions) out += function_text(function, !events);
  out += "    };\n";
}

void append_class(std::string& out, const TypeModel& model, const TypeDescription& type) {
  out += head_text(type, "") + "coclass " + type.name + " {\n";
  for (const TypeImplemented& face : type.implements) {
    const bool source_and_default = face.is_default && face.is_source;
    out += "        ";
    if (face.is_default || face.is_source) {
      out += std::string("[") + (face.is_default ? "default" : "") +
             (source_and_default ? ", " : "") + (face.is_source ? "source" : "") + "] ";
    }
    bool dual = true;
    for (const TypeDescription& known : model.types) {
      if (known.name == face.name) dual = known.dual || known.kind == TKIND_INTERFACE;
    }
    out += (dual ? "interface " : "dispinterface ") + face.name + ";\n";
  }
  out += "    };\n";
}

const char* kind_name(const TypeDescription& type) {
  switch (type.kind) {
    case TKIND_ENUM:
      return "enumeration";
    case TKIND_COCLASS:
      return "class";
    case TKIND_DISPATCH:
      return type.dual ? "interface" : "events";
    default:
      return "interface";
  }
}

Json to_object(const TypeFunction& function) {
  const char* const kinds[] = {"method", "get", "put"};
  Json object = {{"name", function.name},
                 {"id", function.id},
                 {"kind", kinds[static_cast<int>(function.kind)]},
                 {"help", function.help},
                 {"hidden", function.hidden},
                 {"result", function.result},
                 {"parameters", Json::array()}};
  for (const TypeParameter& parameter : function.parameters) {
    Json described = {{"name", parameter.name},
                      {"type", parameter.type},
                      {"in", parameter.in},
                      {"out", parameter.out},
                      {"optional", parameter.optional}};
    if (parameter.has_default) described["default"] = parameter.standard;
    object["parameters"].push_back(std::move(described));
  }
  return object;
}

Json to_object(const TypeDescription& type) {
  Json object = {
      {"kind", kind_name(type)}, {"name", type.name}, {"help", type.help}, {"guid", type.guid}};
  if (type.kind == TKIND_ENUM) {
    object["values"] = Json::array();
    for (const TypeConstant& constant : type.constants) {
      object["values"].push_back(
          {{"name", constant.name}, {"value", constant.value}, {"help", constant.help}});
    }
  } else if (type.kind == TKIND_COCLASS) {
    if (!type.prog_id.empty()) object["progid"] = type.prog_id;
    object["implements"] = Json::array();
    for (const TypeImplemented& face : type.implements) {
      object["implements"].push_back(
          {{"name", face.name}, {"default", face.is_default}, {"source", face.is_source}});
    }
  } else {
    object["base"] = type.base;
    object["members"] = Json::array();
    for (const TypeFunction& function : type.functions) {
      object["members"].push_back(to_object(function));
    }
  }
  return object;
}

}  // namespace

std::string to_interface_definitions(const TypeModel& model) {
  std::string out = "[\n    uuid(" + model.guid + "),\n    version(" + model.version +
                    "),\n    lcid(" + std::to_string(model.locale) + ")" +
                    (model.help.empty() ? "" : ",\n    helpstring(" + quoted(model.help) + ")") +
                    "\n]\nlibrary " + model.name + " {\n";
  for (const TypeDescription& type : model.types) {
    if (type.kind == TKIND_DISPATCH || type.kind == TKIND_INTERFACE) {
      const bool events = type.kind == TKIND_DISPATCH && !type.dual;
      out += std::string("    ") + (events ? "dispinterface " : "interface ") + type.name + ";\n";
    }
  }
  for (const TypeDescription& type : model.types) {
    if (type.kind == TKIND_ENUM) append_enumeration(out, type);
    if (type.kind == TKIND_DISPATCH || type.kind == TKIND_INTERFACE) append_interface(out, type);
    if (type.kind == TKIND_COCLASS) append_class(out, model, type);
  }
  return out + "}\n";
}

std::string to_json(const TypeModel& model) {
  Json object = {{"schema", 1},           {"name", model.name},       {"help", model.help},
                 {"guid", model.guid},    {"version", model.version}, {"locale", model.locale},
                 {"types", Json::array()}};
  for (const TypeDescription& type : model.types) object["types"].push_back(to_object(type));
  return object.dump(1, ' ', true, Json::error_handler_t::replace) + "\n";
}

}  // namespace tallowbrook::cli
