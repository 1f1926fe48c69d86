// SPDX-License-Identifier: Apache-2.0
// A header of ours that a file includes declares something that stands in that file.
//
// Declared are, by a reading of the text: types, aliases, enumerators, macros, and the functions and variables that
// stand in no class. A file may include its own header; headers of template specialisations are used without being
// named, and so are kExceptions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/structure/SourceTree.h"

namespace Lumenar::Structure {
namespace {

using Names = std::set<std::string>;

/// Headers that declare nothing of their own, and why they are there.
const std::map<std::string, std::string> kExceptions = {
    {"platform/transport/guarded_tcp.h",
     "the ORB's headers of its transports, in the one order in which they compile"}};

bool IsWord(const std::string& token) {
  return std::isalpha(static_cast<unsigned char>(token[0])) != 0 || token[0] == '_';
}

void AddMatches(const std::string& text, const std::regex& pattern, Names& names) {
  for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it) names.insert((*it)[1]);
}

/// Collects what is declared where no class, enum or function body encloses it: a word before "(" of a function, and
/// before "=", ";", "[" or "{" of a variable.
class OpenScope {
 public:
  explicit OpenScope(Names& names) : names_(names) {}

  void Take(const std::string& token) {
    if (InTheOpen() && IsDeclarator(token)) names_.insert(last_);
    if (token == "namespace" || token == "extern") opens_namespace_ = true;
    if (token == ";") opens_namespace_ = false;
    if (token == ";" || token == ",") in_value_ = false;
    if (token == "=" && round_ == 0) in_value_ = true;
    if (token == "(") ++round_;
    if (token == ")") --round_;
    if (token == "{") braces_.push_back(std::exchange(opens_namespace_, false));
    if (token == "}" && !braces_.empty()) braces_.pop_back();
    last_ = token;
  }

 private:
  bool InTheOpen() const {
    return round_ == 0 && std::all_of(braces_.begin(), braces_.end(), [](bool is_namespace) { return is_namespace; });
  }

  bool IsDeclarator(const std::string& token) const {
    static const Names kEnds = {"(", "=", ";", "[", "{"};
    static const Names kNoNames = {"operator", "const", "noexcept", "decltype", "override", "namespace"};
    if (last_.empty() || !IsWord(last_) || kNoNames.count(last_) > 0 || in_value_) return false;
    return kEnds.count(token) > 0 && !(token == "{" && opens_namespace_);
  }

  Names& names_;
  std::vector<bool> braces_;  ///< that are open: whether of a namespace
  int round_ = 0;
  bool opens_namespace_ = false;
  bool in_value_ = false;  ///< of a variable or an alias
  std::string last_;
};

Names DeclaredIn(const Source& header) {
  static const std::regex macro(R"re(#\s*define\s+(\w+))re");
  static const std::regex directive(R"re(^\s*#(\\\n|[^\n])*)re", std::regex::multiline);
  static const std::regex type(R"re(\b(?:class|struct|union|enum)\s+(?:class\s+)?(?:[A-Z_]+(?:\([^)]*\))?\s+)?(\w+))re"
                               R"re(\s*(?:<[^{};]*>\s*)?(?:final\s*)?[:{])re");
  static const std::regex alias(R"re(\busing\s+(\w+)\s*=)re");
  static const std::regex enumeration(R"re(\benum\b[^{};()]*\{([^}]*)\})re");
  static const std::regex enumerator(R"re(([A-Za-z_]\w*)\s*(?:=[^,]*)?(?:,|$))re");
  static const std::regex token(R"re([A-Za-z_]\w*|[^\s\w])re");
  Names names;
  AddMatches(header.Code(), macro, names);
  const std::string code = std::regex_replace(header.Code(), directive, "");
  AddMatches(code, type, names);
  AddMatches(code, alias, names);
  for (std::sregex_iterator it(code.begin(), code.end(), enumeration), end; it != end; ++it)
    AddMatches((*it)[1], enumerator, names);
  OpenScope open_scope(names);
  for (std::sregex_iterator it(code.begin(), code.end(), token), end; it != end; ++it) open_scope.Take(it->str());
  return names;
}

Names WordsOf(const Source& source) {
  static const std::regex word(R"re(([A-Za-z_]\w*))re");
  Names words;
  AddMatches(source.Code(), word, words);
  return words;
}

bool HaveOneInCommon(const Names& a, const Names& b) {
  return std::any_of(a.begin(), a.end(), [&b](const std::string& name) { return b.count(name) > 0; });
}

bool IsUsedUnnamed(const Source& header) {
  return kExceptions.count(header.path) > 0 || header.text.find("template <>") != std::string::npos;
}

std::vector<std::string> UnusedIncludes(const std::filesystem::path& root) {
  std::vector<Source> sources;
  for (const char* top : {"platform", "judge", "recording", "Common_Math", "host", "services", "instruments", "client",
                          "tools", "python"}) {
    auto below = SourcesBelow(root, top);
    std::move(below.begin(), below.end(), std::back_inserter(sources));
  }
  std::map<std::string, Names> declared;
  for (const Source& source : sources)
    if (source.path.ends_with(".h") && !IsUsedUnnamed(source)) declared[source.path] = DeclaredIn(source);
  std::vector<std::string> unused;
  for (const Source& source : sources) {
    const Names words = WordsOf(source);
    const std::string own = source.path.substr(0, source.path.rfind('.')) + ".h";
    for (const std::string& include : source.QuotedIncludes()) {
      const auto header = declared.find(include);
      if (header == declared.end() || include == own) continue;
      if (!HaveOneInCommon(header->second, words)) unused.push_back(source.path + " includes " + include);
    }
  }
  return unused;
}

TEST(UnusedHeaders, ThereAreNone) { EXPECT_THAT(UnusedIncludes(SOURCE_ROOT), testing::IsEmpty()); }

TEST(UnusedHeaders, AreSeen) {
  const PlantedTree tree;
  tree.Plant("platform/base/a.h",
             "#define TWICE(x) \\\n  NotDeclared(x)\nnamespace A { class Later; class CAPABILITY(\"m\") Lock { void "
             "Member(); };\n"
             "enum Colour { kRed = 1, kBlue }; using Alias = Used; inline Used Function(Taken t) { Body(); }\n"
             "extern const int variable; }\nextern \"C\" { void c_function(); }\n// Comment\n");
  for (const char* used : {"TWICE", "Lock", "Colour", "kBlue", "Alias", "Function", "variable", "c_function"}) {
    tree.Plant(std::string("client/uses_") + used + ".cpp",
               std::string("#include \"platform/base/a.h\"\nint x = ") + used + ";\n");
  }
  tree.Plant(
      "client/bad.cpp",
      "#include \"platform/base/a.h\"\nNotDeclared Member Used Taken Body Comment t A; // Lock\nx = \"Lock\";\n");
  tree.Plant("platform/base/a.cpp", "#include \"platform/base/a.h\"\n");
  EXPECT_THAT(UnusedIncludes(tree.Root()), testing::ElementsAre("client/bad.cpp includes platform/base/a.h"));
}

}  // namespace
}  // namespace Lumenar::Structure
