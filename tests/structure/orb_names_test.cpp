// SPDX-License-Identifier: Apache-2.0
// The ORB's own names stand in three folders of the platform; all others use the standard mapping alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/structure/SourceTree.h"

namespace Lumenar::Structure {
namespace {

bool KnowsTheOrb(const std::string& path) {
  const std::set<std::string> folders = {"platform/wire", "platform/transport", "platform/orb"};
  return folders.count(LayerOf(path)->folder) > 0;
}

/// Names of the ORB's library, and of its stubs beyond the standard mapping.
const std::regex kOrbName(
    R"re(\b(omni[A-Z_:]\w*|cdr[A-Z]\w*|giop[A-Z]\w*|_(PR|PD|NP|CORBA|OMNI|impl|objref)_\w+|NP_\w+)|_ptrToInterface)re");

/// The ORB's headers of the standard mapping; its others declare what is its own.
const std::regex kOrbHeader(R"re(#\s*include\s*<omniORB4/(?!CORBA\.h>|Naming\.hh>)[^>\n]*>)re");

std::vector<std::string> NamesOfTheOrbOutside(const std::filesystem::path& root) {
  std::vector<std::string> leaks;
  const auto collect = [&](const Source& source, const std::string& text, const std::regex& pattern) {
    for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it)
      leaks.push_back(source.path + ": " + it->str());
  };
  for (const Layer& layer : Layers()) {
    for (const Source& source : SourcesBelow(root, layer.folder)) {
      if (KnowsTheOrb(source.path)) continue;
      collect(source, source.Code(), kOrbName);
      collect(source, source.text, kOrbHeader);
    }
  }
  return leaks;
}

TEST(OrbNames, StandInTheFoldersOfTheOrbAlone) { EXPECT_THAT(NamesOfTheOrbOutside(SOURCE_ROOT), testing::IsEmpty()); }

TEST(OrbNames, AreSeenElsewhere) {
  const PlantedTree tree;
  tree.Plant("platform/orb/Good.cpp", "omniORB::setClientCallTimeout(1);\n");
  tree.Plant("client/Good.cpp",
             "#include <omniORB4/CORBA.h>\n#include <omniORB4/Naming.hh>\n"
             "// omniORB::x, and a text:\nconst char* a = \"omniORB::y\"; CORBA::Object_ptr b; long n = 10'000; char c "
             "= '\"';\n");
  tree.Plant("client/Bad.cpp",
             "#include <omniORB4/callHandle.h>\nbool F(omniCallHandle& a, cdrStream& b) { c->_PR_getobj(); }\n"
             "omniORB::logger d; _CORBA_Boolean e; f.NP_minorString(); omni::giopStream g; h->_ptrToInterface(0);\n");
  EXPECT_THAT(
      NamesOfTheOrbOutside(tree.Root()),
      testing::ElementsAre("client/Bad.cpp: omniCallHandle", "client/Bad.cpp: cdrStream", "client/Bad.cpp: _PR_getobj",
                           "client/Bad.cpp: omniORB", "client/Bad.cpp: _CORBA_Boolean",
                           "client/Bad.cpp: NP_minorString", "client/Bad.cpp: omni:", "client/Bad.cpp: giopStream",
                           "client/Bad.cpp: _ptrToInterface", "client/Bad.cpp: #include <omniORB4/callHandle.h>"));
}

}  // namespace
}  // namespace Lumenar::Structure
