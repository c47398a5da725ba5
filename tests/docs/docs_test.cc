// SPDX-License-Identifier: Apache-2.0

#include <corvo/lint.h>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/base/case_table.h"
#include "tests/docs/blocks.h"
#include "tests/lint/framed.h"
#include "tests/tool/backend.h"
#include "tests/tool/transcript.h"

namespace corvo::tests {
namespace {

namespace fs = std::filesystem;
using tool::Backend;
using tool::Ran;

const fs::path kRoot = CORVO_ROOT;
constexpr const char* kAddress = "http://127.0.0.1:8080";

/// Whether a text matches what a document shows; a line "..." matches any number of lines.
bool isShownBy(const std::string& shown, const std::string& text) {
  std::size_t at = 0;
  bool skips = false;
  std::istringstream in(shown);
  for (std::string line; std::getline(in, line);) {
    if (line == "...") {
      skips = true;
      continue;
    }
    const std::size_t found = text.find(line + '\n', at);
    if (found == std::string::npos || (!skips && found != at)) return false;
    at = found + line.size() + 1;
    skips = false;
  }
  return skips || at == text.size();
}

bool isOnlyWarnings(const std::string& text) {
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.starts_with("warning: ")) return false;
  }
  return true;
}

/// Tries the blocks of a document, in a folder with the sample shop's files and the examples.
class Document {
 public:
  explicit Document(fs::path name) : name_(std::move(name)) {
    fs::create_directories(folder_ / "examples");
    fs::copy(CORVO_SHOP, folder_);
    fs::copy(CORVO_SHOP, folder_ / "examples/shop");
    fs::create_directory_symlink(kRoot, folder_ / "corvo");
    serve("--config config.json --geo geo.json");
  }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  ~Document() { fs::remove_all(folder_); }

  void tryAll() {
    const std::vector<Block> blocks = blocksOf(contentsOf((kRoot / name_).string()));
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      const Block& block = blocks[i];
      SCOPED_TRACE(name_.string() + ":" + std::to_string(block.line));
      keep(block);
      if (block.has("not tried")) {
        EXPECT_NE(block.mark("not tried"), "") << "the reason is missing";
      } else if (block.has("shows")) {
        EXPECT_THAT(contentsOf((kRoot / "examples" / block.mark("shows")).string()),
                    testing::HasSubstr(block.text));
      } else if (block.has("tried by")) {
        EXPECT_THAT(contentsOf((kRoot / block.mark("tried by")).string()),
                    testing::HasSubstr(name_.filename().string()));
      } else if (block.language == "text" && i > 0 && shows_) {
        EXPECT_TRUE(isShownBy(block.text, output_)) << output_;
        shows_ = false;
        continue;
      } else {
        tryOne(block);
      }
    }
  }

 private:
  void tryOne(const Block& block) {
    shows_ = false;
    const std::map<std::string, void (Document::*)(const Block&)> ways = {
        {"cpp", &Document::tryProgram},
        {"sh", &Document::tryScript},
        {"console", &Document::tryConsole},
        {"json", &Document::tryJson},
        {"cmake", &Document::tryCMake}};
    const auto way = ways.find(block.language);
    if (way == ways.end()) {
      ADD_FAILURE() << "neither tried nor marked";
    } else {
      (this->*way->second)(block);
    }
  }

  /// Writes the file that a block's mark names, or appends to it. For a program, also writes a
  /// script that runs it.
  void keep(const Block& block) {
    if (block.has("file")) write(block.mark("file"), block.text);
    if (block.has("more of")) {
      const fs::path file = block.mark("more of");
      write(file, contentsOf((folder_ / file).string()) + block.text);
    }
    if (block.language != "cpp" || !block.has("file")) return;
    const fs::path program = folder_ / "build" / fs::path(block.mark("file")).stem();
    write(program, "#!/bin/sh\n" + toRun(block));
    fs::permissions(program, fs::perms::owner_all);
  }

  std::string toRun(const Block& block) const {
    const std::string line = std::to_string(block.line);
    return "XDG_DATA_HOME=" + (folder_ / ("data" + line)).string() + " " CORVO_RUN_BLOCK " " +
           name_.string() + ":" + line;
  }

  void tryProgram(const Block& block) {
    if (block.has("file")) return;  // a later block runs it
    // The output begins with that of the block that this one continues.
    const std::string before = block.has("continues") ? output_ : "";
    runs(toRun(block));
    EXPECT_TRUE(output_.starts_with(before)) << output_;
    output_.erase(0, before.size());
  }

  void tryScript(const Block& block) {
    write("script.sh", here(block.mark("before") + "\n" + block.text));
    runs("bash -euo pipefail script.sh");
  }

  void tryConsole(const Block& block) {
    for (const auto& [command, in, out, err, status] : tool::readTranscript(block.text)) {
      if (command.starts_with("corvo serve")) {
        std::string arguments = command.substr(std::string("corvo serve").size());
        const std::size_t port = arguments.find(" --port 8080");
        if (port != std::string::npos) arguments.erase(port, 12);
        if (arguments.ends_with("&")) arguments.pop_back();
        serve(arguments);
        EXPECT_EQ(out, std::string("Serving ") + kAddress + "\n");
        continue;
      }
      const Ran ran = tool::run(here(command), folder_);
      EXPECT_TRUE(isShownBy(out, ran.out)) << command << '\n' << ran.out << ran.err;
      EXPECT_TRUE(err.empty() ? isOnlyWarnings(ran.err) : ran.err == err) << command << ran.err;
      // If a command fails, the document must show some output.
      EXPECT_TRUE(ran.status == 0 || !(out + err).empty()) << command;
    }
  }

  void tryJson(const Block& block) {
    const Framed document = framed(block.text);
    const bool isProject = document.text != block.text ||
                           block.text.find("\"feature_flags\"") != std::string::npos ||
                           block.text.find("\"experiments\"") != std::string::npos;
    std::set<std::string> found, expected;
    std::string all;
    for (const Finding& finding : lint(document.text)) {
      if (isProject || finding.code == "not-json") found.emplace(finding.code);
      all += finding.message + '\n';
    }
    std::istringstream in(block.mark("finds"));
    for (std::string code; in >> code;) expected.insert(code);
    EXPECT_EQ(found, expected) << all;
  }

  void tryCMake(const Block& block) {
    fs::path project = block.has("more of") ? block.mark("more of") : block.mark("file");
    project = project.parent_path();
    if (project.empty()) {
      project = "cmake" + std::to_string(block.line);
      const bool isWhole = block.text.find("project(") != std::string::npos;
      write(project / "app.cc", "int main() {}\n");
      write(project / "CMakeLists.txt",
            (isWhole ? ""
                     : "cmake_minimum_required(VERSION 3.25)\nproject(app CXX)\n"
                       "add_executable(app app.cc)\n") +
                block.text);
      fs::create_directory_symlink(kRoot, folder_ / project / "corvo");
    }
    runs("cmake -G Ninja -S " + project.string() + " -B " + project.string() +
         ".build"
         " -DCMAKE_CXX_COMPILER=" CORVO_COMPILER " -DCMAKE_PREFIX_PATH=" CORVO_PREFIX
         " -DFETCHCONTENT_SOURCE_DIR_CORVO=" CORVO_ROOT);
    shows_ = false;
  }

  /// Runs a command that should succeed.
  void runs(const std::string& command) {
    const Ran ran = tool::run(command, folder_);
    EXPECT_EQ(ran.status, 0) << command << '\n' << ran.out << ran.err;
    output_ = ran.out;
    replaceAll(output_, backend_->url(), kAddress);
    shows_ = true;
  }

  void serve(const std::string& arguments) {
    const fs::path before = fs::current_path();
    fs::current_path(folder_);
    backend_ = std::make_unique<Backend>(arguments);
    fs::current_path(before);
    setenv("CORVO_DOCS_BACKEND", backend_->url().c_str(), 1);
  }

  void write(const fs::path& file, const std::string& text) const {
    fs::create_directories((folder_ / file).parent_path());
    std::ofstream(folder_ / file) << text;
  }

  /// The text with the address of the running backend.
  std::string here(std::string text) const {
    replaceAll(text, kAddress, backend_->url());
    return text;
  }

  const fs::path name_;  // "docs/lint.md"
  const fs::path folder_ = fs::path(testing::TempDir()) / ("corvo_docs" + std::to_string(getpid()));
  std::unique_ptr<Backend> backend_;
  std::string output_;  // of the last block that ran
  bool shows_ = false;  // whether a text block that follows shows it
};

TEST(Document, FailsWithABlockThatIsNotTried) {
  const std::string file = testing::TempDir() + "corvo_document_" + std::to_string(getpid());
  const auto refused = [&](const std::string& text) {
    std::ofstream(file) << text;
    testing::TestPartResultArray failures;
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    Document(file).tryAll();
    return failures.size() > 0;
  };
  for (const char* text :
       {"```yaml\na: 1\n```", "```\na\n```", "```text\na\n```", "<!-- not tried -->\n```sh\n```",
        "<!-- not tried: -->\n```sh\n```", "<!-- tried by: README.md -->\n```sh\n```",
        "<!-- tried by: missing.cc -->\n```sh\n```",
        "<!-- shows: server.cc -->\n```cpp\nint missing;\n```",
        "```sh\necho a\n```\n```text\nb\n```", "```sh\nfalse\n```", "```console\n$ echo a\nb\n```",
        "```console\n$ false\n```", "```json\n{\"experiments\": [1]}\n```", "```json\n{]\n```",
        "```cmake\nmissing()\n```", "<!-- finds: no-rules -->\n```json\n{}\n```",
        "```sh\necho a\n```\nand\n```text\na\nb\n```",
        "<!-- not tried: one is enough -->\n\nA text.\n\n```yaml\n```"}) {
    EXPECT_TRUE(refused(text)) << text;
  }
  for (const char* text :
       {"", "<!-- not tried: a reason -->\n```yaml\n```",
        "```sh\nprintf 'a\\nb\\nc\\n'\n```\n```text\na\n...\nc\n```",
        "1. A step:\n\n   ```console\n   $ echo a\n   a\n   ```",
        "<!-- file: f -->\n```json\n{}\n```\n```sh\ncat f\n```\n```text\n{}\n```",
        "<!-- finds: not-json -->\n```json\n{]\n```"}) {
    EXPECT_FALSE(refused(text)) << text;
  }
  fs::remove(file);
}

/// The anchors of a document's headings: "what-it-needs".
std::set<std::string> anchorsOf(const std::string& document) {
  std::set<std::string> anchors;
  std::istringstream in(document);
  for (std::string line; std::getline(in, line);) {
    if (!line.starts_with('#') || line.find("# ") == std::string::npos) continue;
    std::string anchor;
    for (const char c : line.substr(line.find("# ") + 2)) {
      const auto byte = static_cast<unsigned char>(c);
      if (std::isalnum(byte) || c == '-' || c == '_')
        anchor += static_cast<char>(std::tolower(byte));
      if (c == ' ') anchor += '-';
    }
    anchors.insert(anchor);
  }
  return anchors;
}

class DocumentTest : public testing::TestWithParam<fs::path> {};

TEST_P(DocumentTest, ShowsTheRealOutputOfItsBlocks) { Document(GetParam()).tryAll(); }

TEST_P(DocumentTest, HasNoBrokenLinks) {
  const fs::path file = kRoot / GetParam();
  const std::string text = contentsOf(file.string());
  const std::regex link(R"(\]\(([^)#: ]*)(#([^)]*))?\))");
  for (std::sregex_iterator i(text.begin(), text.end(), link), end; i != end; ++i) {
    const std::string path = (*i)[1];
    const std::string anchor = (*i)[3];
    const fs::path target = path.empty() ? file : file.parent_path() / path;
    EXPECT_TRUE(fs::exists(target)) << path;
    if (anchor.empty()) continue;
    EXPECT_TRUE(anchorsOf(contentsOf(target.string())).contains(anchor)) << path << '#' << anchor;
  }
}

std::vector<fs::path> documents() {
  std::vector<fs::path> all{"README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md"};
  for (const auto& entry : fs::directory_iterator(kRoot / "docs")) {
    if (entry.path().extension() == ".md") all.push_back("docs" / entry.path().filename());
  }
  return all;
}

INSTANTIATE_TEST_SUITE_P(All, DocumentTest, testing::ValuesIn(documents()), [](const auto& each) {
  std::string name = each.param.string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
  return name;
});

}  // namespace
}  // namespace corvo::tests
