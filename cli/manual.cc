// Manual pages in the man macros: a page has NAME, SYNOPSIS, OPTIONS, COMMANDS, and a DESCRIPTION
// from what stands behind the options in the help. Lines of it that are indented are set as they
// are.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <string_view>

#include "cli/commands.h"
#include "cli/describe.h"

namespace tallowbrook::cli {
namespace {

// Text for roff: a backslash and a hyphen are escaped, and no line begins with a request.
std::string roff(std::string_view text) {
  std::string escaped;
  bool line_start = true;
  for (const char c : text) {
    if (line_start && (c == '.' || c == '\'')) escaped += "\\&";
    line_start = c == '\n';
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return text;
}

std::string title(const CLI::App& program, const CLI::App* command) {
  return command == nullptr ? program.get_name() : program.get_name() + "-" + command->get_name();
}

// "-o,--output FILE" with the names in bold.
std::string option_heading(const CLI::Option& option) {
  if (option.nonpositional()) {
    std::string names;
    const auto add = [&](const char* dashes, const std::string& name) {
      if (!names.empty()) names += ", ";
      names += "\\fB" + roff(dashes + name) + "\\fR";
    };
    for (const std::string& name : option.get_snames()) add("-", name);
    for (const std::string& name : option.get_lnames()) add("--", name);
    if (option.get_items_expected_max() != 0)
      names += " \\fI" + roff(option.get_type_name()) + "\\fR";
    return names;
  }
  return "\\fI" + roff(option.get_name(true)) + "\\fR";
}

std::string synopsis(const CLI::App& program, const CLI::App& app, const CLI::App* command) {
  std::string line = "\\fB" + roff(program.get_name()) + "\\fR";
  if (command != nullptr) line += " \\fB" + roff(command->get_name()) + "\\fR";
  line += " [\\fIoptions\\fR]";
  if (command == nullptr) return line + " \\fIcommand\\fR ...";
  for (const CLI::Option* option :
       app.get_options([](const CLI::Option* each) { return each->get_positional(); })) {
    std::string name = "\\fI" + roff(option->get_name(true)) + "\\fR";
    if (option->get_items_expected_max() > 1) name += "...";
    line += option->get_required() ? " " + name : " [" + name + "]";
  }
  return line;
}

void write_options(std::ostream& page, const CLI::App& app) {
  page << ".SH OPTIONS\n";
  for (const CLI::Option* option : app.get_options()) {
    page << ".TP\n" << option_heading(*option) << '\n' << roff(option->get_description()) << '\n';
  }
}

void write_description(std::ostream& page, const std::string& text) {
  if (text.empty()) return;
  page << ".SH DESCRIPTION\n";
  std::istringstream lines(text);
  bool as_it_is = false;
  for (std::string line; std::getline(lines, line);) {
    const bool indented = line.starts_with("  ");
    if (indented != as_it_is) page << (indented ? ".nf\n" : ".fi\n");
    as_it_is = indented;
    if (line.empty()) {
      page << ".PP\n";
    } else {
      page << roff(line) << '\n';
    }
  }
  if (as_it_is) page << ".fi\n";
}

}  // namespace

std::string manual_page(const CLI::App& program, const CLI::App* command) {
  const CLI::App& app = command == nullptr ? program : *command;
  std::ostringstream page;
  page << ".TH \"" << upper(title(program, command)) << "\" 1 \"\" \"" << program.get_name() << ' '
       << TALLOWBROOK_VERSION << "\" \"User Commands\"\n"
       << ".SH NAME\n"
       << roff(title(program, command)) << " \\- " << roff(app.get_description()) << '\n'
       << ".SH SYNOPSIS\n"
       << synopsis(program, app, command) << '\n';
  write_options(page, app);
  if (command == nullptr) {
    page << ".SH COMMANDS\n";
    for (const CLI::App* each : commands_of(program)) {
      page << ".TP\n\\fB" << roff(each->get_name()) << "\\fR\n"
           << roff(each->get_description()) << ", see \\fB" << roff(title(program, each))
           << "\\fR(1)\n";
    }
  }
  write_description(page, app.get_footer());
  page << ".SH SEE ALSO\n";
  if (command != nullptr) {
    page << "\\fB" << program.get_name() << "\\fR(1)\n";
  } else {
    page << "The folder /usr/share/doc/tallowbrook\n";
  }
  return page.str();
}

}  // namespace tallowbrook::cli
