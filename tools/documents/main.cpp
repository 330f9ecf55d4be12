#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "tools/documents/Completion.h"
#include "tools/documents/ManPage.h"

// larkspan-documents FORMAT FOLDER: writes the manual, of which FORMAT is the document behind
// larkspan-archive(5), and the completions, as they are installed below a prefix's `share`.
namespace {

std::string ReadFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(std::string(path) + " can't be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(path.string() + " can't be written");
}

void WriteAll(const std::string& format, const std::filesystem::path& folder) {
  Tool::ConsoleOptions options;
  const Tool::CommandFacts program = Tool::MakeCommandTable(options);
  WriteFile(folder / "man/man1/larkspan.1", Documents::MakeProgramPage(program));
  for (const Tool::CommandFacts& command : program.commands) {
    WriteFile(folder / ("man/man1/larkspan-" + command.name + ".1"),
              Documents::MakeCommandPage(program, command));
  }
  WriteFile(
      folder / "man/man5/larkspan-archive.5",
      Documents::MakeFormatPage("larkspan-archive", "The format of Larkspan archives", format));
  WriteFile(folder / "bash-completion/completions/larkspan",
            Documents::MakeBashCompletion(program));
  WriteFile(folder / "zsh/site-functions/_larkspan", Documents::MakeZshCompletion(program));
  WriteFile(folder / "fish/vendor_completions.d/larkspan.fish",
            Documents::MakeFishCompletion(program));
}

}  // namespace

int main(int count, char** arguments) {
  try {
    if (count != 3) throw std::runtime_error("the format's document and a folder are required");
    WriteAll(ReadFile(arguments[1]), arguments[2]);
    return 0;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "larkspan-documents: %s\n", exception.what());
    return 1;
  }
}
