// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/PageFiles.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

namespace Lumenar::Web {
namespace {

namespace fs = std::filesystem;

class PageFolder : public testing::Test {
 protected:
  PageFolder() {
    std::string name = (fs::temp_directory_path() / "lumenar-page-XXXXXX").string();
    root_ = mkdtemp(name.data());
    fs::create_directories(root_ / "page" / "vendor");
    Write("secret", "secret");
    Write("page/index.html", "<html>");
    Write("page/page.js", "1");
    Write("page/vendor/uPlot.css", "p {}");
  }
  ~PageFolder() override { fs::remove_all(root_); }

  void Write(const std::string& file, const std::string& text) { std::ofstream(root_ / file) << text; }

  std::string BodyOf(const std::string& target) {
    const auto reply = PageFiles((root_ / "page").string()).Find(PathOf(target), "");
    return reply ? *reply->body : "(none)";
  }

  fs::path root_;
};

TEST_F(PageFolder, EachFileHasItsPath) {
  EXPECT_EQ(BodyOf("/"), "<html>");
  EXPECT_EQ(BodyOf("/index.html?a=b"), "<html>");
  EXPECT_EQ(BodyOf("/page/page.js"), "1");
  EXPECT_EQ(BodyOf("/vendor/uPlot.css"), "p {}");
  EXPECT_EQ(BodyOf("/page/vendor/uPlot.css"), "p {}") << "modules name it beside themselves";
}

TEST_F(PageFolder, NothingElseIsServed) {
  for (const char* target : {"/page/../../secret", "/page/%2e%2e/secret", "/page/..%2fsecret", "/secret", "//secret",
                             "/page/", "/page", "", "page.js", "/page/none.js", "/page/%00", "/page/%zz", "/page/%4"})
    EXPECT_EQ(BodyOf(target), "(none)") << target;
}

TEST_F(PageFolder, AFileThatTheClientHasIsNotSentAgain) {
  const PageFiles files((root_ / "page").string());
  const auto first = files.Find("/page/page.js", "");
  ASSERT_TRUE(first);
  const std::string tag = first->headers.at(0).second;
  EXPECT_EQ(files.Find("/page/page.js", tag)->status, 304u);
  EXPECT_EQ(files.Find("/page/page.js", "\"other\"")->status, 200u);
  Write("page/page.js", "2");
  EXPECT_EQ(files.Find("/page/page.js", tag)->status, 200u) << "it was changed";
}

TEST_F(PageFolder, TypesAreThoseOfTheEndings) {
  const PageFiles files((root_ / "page").string());
  EXPECT_EQ(files.Find("/", "")->type, "text/html; charset=utf-8");
  EXPECT_EQ(files.Find("/page/page.js", "")->type, "text/javascript; charset=utf-8");
}

TEST(PageFiles, ThePageIsBuiltIn) {
  const auto page = PageFiles("").Find("/", "");
  ASSERT_TRUE(page);
  EXPECT_THAT(*page->body, testing::HasSubstr("<html"));
}

}  // namespace
}  // namespace Lumenar::Web
