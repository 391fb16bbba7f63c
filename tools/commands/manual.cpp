// Man pages and the completion of bash, made from the same options as the help.

#include "commands/manual.hpp"

#include <morvex/morvex.h>

#include <vector>

#include "common/output.hpp"

namespace morvex::tools {
namespace {

/// Text in roff: its special characters are escaped, and no line looks like a request.
std::string roff(const std::string& text) {
  std::string escaped;
  bool isLineStart = true;
  for (const char c : text) {
    if (isLineStart && (c == '.' || c == '\'')) escaped += "\\&";
    isLineStart = c == '\n';
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else if (c == '\'') {
      escaped += "\\(aq";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

/// ASCII letters alone, whatever the locale.
std::string upper(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

/// Options without a group are for the build alone.
bool isShown(const CLI::Option& option) {
  return !option.get_group().empty();
}

/// Its names, for example "-q, --quiet", and what follows them.
std::string nameOf(const CLI::Option& option) {
  if (option.get_positional()) return "\\fI" + roff(option.get_name(true)) + "\\fR";
  std::string text;
  const auto add = [&](const std::string& name) {
    text += (text.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fR";
  };
  for (const std::string& name : option.get_snames()) add("-" + name);
  for (const std::string& name : option.get_lnames()) add("--" + name);
  if (option.get_expected_max() > 0) text += " \\fI" + roff(option.get_type_name()) + "\\fR";
  return text;
}

/// A paragraph for each option, in the order of the help.
std::string optionsOf(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* option : app.get_options()) {
    if (!isShown(*option)) continue;
    text += ".TP\n" + nameOf(*option) + "\n" + roff(option->get_description()) + "\n";
  }
  return text;
}

/// How a command, or the program if `command` is null, is called.
std::string synopsisOf(const CLI::App& program, const CLI::App* command) {
  std::string text = "\\fB" + roff(program.get_name()) + "\\fR";
  if (!command) return text + " [\\fIOPTIONS\\fR] \\fICOMMAND\\fR ...";
  text += " \\fB" + roff(command->get_name()) + "\\fR [\\fIOPTIONS\\fR]";
  for (const CLI::Option* option : command->get_options()) {
    // Options have a section of their own.
    if (!option->get_positional()) continue;
    const bool isList = option->get_expected_max() > 1;
    const std::string name = nameOf(*option) + (isList ? "..." : "");
    text += option->get_required() ? " " + name : " [" + name + "]";
  }
  return text;
}

/// The footer without its heading, as typed.
std::string examplesOf(const CLI::App& command) {
  const std::string footer = command.get_footer();
  const std::size_t end = footer.find('\n');
  // A footer of one line is a heading without examples.
  if (end == std::string::npos) return "";
  return ".SH EXAMPLES\n.nf\n" + roff(footer.substr(end + 1)) + "\n.fi\n";
}

/// The title lines. No date: builds of one source give the same bytes.
std::string head(const std::string& name) {
  return ".TH " + roff(upper(name)) + " 1 \"\" \"morvex " + morvex_version() + "\" \"Morvex\"\n" +
         ".SH NAME\n" + roff(name) + " \\- ";
}

/// The page of the program: its commands, the options of all, the exit codes.
std::string programPage(const CLI::App& program) {
  std::string text = head(program.get_name()) + roff(program.get_description()) + "\n";
  text += ".SH SYNOPSIS\n" + synopsisOf(program, nullptr) + "\n.SH COMMANDS\n";
  std::string others;
  for (const CLI::App* command : program.get_subcommands({})) {
    text += ".TP\n\\fB" + roff(command->get_name()) + "\\fR\n" + roff(command->get_description()) +
            "\n";
    others += (others.empty() ? "\\fB" : ",\n\\fB") +
              roff(program.get_name() + "-" + command->get_name()) + "\\fR(1)";
  }
  text += ".SH OPTIONS\n" + optionsOf(program);
  text += ".SH NOTES\n.nf\n" + roff(program.get_footer()) + "\n.fi\n";
  return text + ".SH SEE ALSO\n" + others + "\n";
}

/// The page of one command. Options that all commands have are repeated: readers of one page need them.
std::string commandPage(const CLI::App& program, const CLI::App& command) {
  const std::string name = program.get_name() + "-" + command.get_name();
  std::string text = head(name) + roff(command.get_description()) + "\n";
  text += ".SH SYNOPSIS\n" + synopsisOf(program, &command) + "\n";
  text += ".SH OPTIONS\n" + optionsOf(command);
  text += ".SH COMMON OPTIONS\n" + optionsOf(program) + examplesOf(command);
  return text + ".SH SEE ALSO\n\\fB" + roff(program.get_name()) + "\\fR(1)\n";
}

/// The options of an app, each after a blank.
std::string wordsOf(const CLI::App& app) {
  std::string words;
  for (const CLI::Option* option : app.get_options()) {
    if (!isShown(*option) || option->get_positional()) continue;
    for (const std::string& name : option->get_snames()) words += " -" + name;
    for (const std::string& name : option->get_lnames()) words += " --" + name;
  }
  return words;
}

/// Completes commands and options; all else are names of files, as bash completes them itself.
std::string completion(const CLI::App& program) {
  const std::string& name = program.get_name();
  std::string commands;
  std::string cases;
  for (const CLI::App* command : program.get_subcommands({})) {
    commands += " " + command->get_name();
    cases += "    " + command->get_name() + ") words=\"" + wordsOf(*command).substr(1) + "\" ;;\n";
  }
  return "# Completion of " + name + " for bash.\n_" + name +
         "() {\n"
         "  local word=\"${COMP_WORDS[COMP_CWORD]}\" command=\"\" words=\"\" i\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    case \" " +
         commands.substr(1) +
         " \" in *\" ${COMP_WORDS[i]} \"*) command=\"${COMP_WORDS[i]}\"; break ;; esac\n"
         "  done\n"
         "  case \"$command\" in\n" +
         cases + "    *) words=\"" + commands.substr(1) +
         "\" ;;\n"
         "  esac\n"
         "  COMPREPLY=()\n"
         "  if [[ -z $command || $word == -* ]]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W \"$words" +
         wordsOf(program) +
         "\" -- \"$word\")\n"
         "  fi\n"
         "}\n"
         "complete -o default -F _" +
         name + " " + name + "\n";
}

/// Replaces the page as a whole, so that an interrupted build leaves no half of one.
void writePage(const std::string& path, const std::string& text) {
  NewFile file(path, /*mayReplace=*/true);
  file.write(text);
  file.commit();
}

}  // namespace

void writeManual(const CLI::App& program, const std::string& folder) {
  const std::string base = folder + "/" + program.get_name();
  for (const CLI::App* command : program.get_subcommands({})) {
    writePage(base + "-" + command->get_name() + ".1", commandPage(program, *command));
  }
  writePage(base + ".bash", completion(program));
  writePage(base + ".1", programPage(program));  // last: the build looks at this one
}

}  // namespace morvex::tools
