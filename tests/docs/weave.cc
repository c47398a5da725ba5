// SPDX-License-Identifier: Apache-2.0

// Combines the C++ blocks of a document into one source: weave NAME DOCUMENT FRAMES OUTPUT. Each
// block gets its own namespace; a block without `main` is put into a frame.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "tests/base/case_table.h"
#include "tests/docs/blocks.h"

namespace {

using corvo::tests::Block;

/// A source; its includes are kept separately.
struct Source {
  std::string includes, code;

  /// If the text's place is given, compilers report errors there.
  void add(const std::string& text, const std::string& file = "", int line = 0) {
    bool isNext = false;  // whether the next line needs no #line
    std::istringstream in(text);
    for (std::string each; std::getline(in, each); ++line) {
      if (each.starts_with("#include")) {
        includes += each + '\n';
        isNext = false;
        continue;
      }
      if (!isNext && !file.empty()) code += "#line " + std::to_string(line) + " \"" + file + "\"\n";
      isNext = true;
      code += each + '\n';
    }
  }
};

bool isProgram(const Block& block) { return block.text.find("int main(") != std::string::npos; }

std::string frameOf(const Block& block) {
  if (block.has("in")) return block.mark("in");
  if (block.text.starts_with("TEST") || block.text.find("\nTEST") != std::string::npos) {
    return "tests";
  }
  return block.text.find("co_await") == std::string::npos ? "client" : "coroutine";
}

/// Adds the `return 0` that only a real `main` has implicitly, at its end and at the end of its
/// handlers.
void endMain(std::string& program) {
  const std::string returns = "\nreturn 0;";
  std::size_t end = program.find("\n}", program.find("int main("));
  while (end != std::string::npos) {
    program.insert(end, returns);
    end += returns.size();
    if (program.compare(end, 9, "\n} catch ") != 0) return;
    end = program.find("\n}", end + 1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  const std::string document = argv[1];
  const std::filesystem::path file = argv[2];
  const std::filesystem::path frames = argv[3];
  Source programs, others;
  std::string begun;  // the blocks that the next one may continue
  for (Block block : corvo::tests::blocksOf(corvo::tests::contentsOf(file.string()))) {
    if (!corvo::tests::isCompiled(block)) continue;
    const bool whole = isProgram(block);
    const std::string space = "block_" + std::to_string(block.line);
    Source source;
    source.add(block.mark("before"));
    source.add(block.text, file.string(), block.line + 1);
    corvo::tests::replaceAll(source.code, "\"http://127.0.0.1:8080\"", "corvo::tests::backend()");
    if (whole) {
      endMain(source.code);
    } else {
      if (!block.has("continues")) begun.clear();
      begun += source.code;
      const std::string frame =
          corvo::tests::contentsOf((frames / (frameOf(block) + ".cc")).string());
      const std::string place = "// block\n";
      const std::size_t at = frame.find(place);
      if (at == std::string::npos) {
        std::cerr << file.string() << ":" << block.line << ": no frame " << frameOf(block) << '\n';
        return 1;
      }
      source.code.clear();
      source.add(frame.substr(0, at));
      source.code += begun;
      source.add(frame.substr(at + place.size()));
    }
    Source& woven = whole ? programs : others;
    // The includes of a program stand right before it, so that the first one has no others.
    (whole ? woven.code : woven.includes) += source.includes;
    woven.code += "namespace {\nnamespace " + space + " {\n" + source.code + "}\n" +
                  "const corvo::tests::Runnable runnable_" + std::to_string(block.line) + "(\"" +
                  document + ":" + std::to_string(block.line) + "\", " + space +
                  (whole ? "::main" : "::run") + ");\n}\n";
  }
  std::ofstream(argv[4]) << "#include \"tests/docs/runnable.h\"\n"
                         << programs.code << others.includes << others.code;
}
