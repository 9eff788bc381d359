#include <kilnloomfactory/ModuleResources.h>

#include <kilncore/config/Localizer.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

// A resource of this test program, written as the build writes the module's:
// an ELF note of the owner "KilnRes", its type the characters "LOOM", its
// descriptor the name, a NUL, and the bytes.
__asm__(
    ".pushsection .note.kiln.resources,\"a\",%note\n"
    ".balign 4\n"
    ".long 8\n"
    ".long 2f - 1f\n"
    ".ascii \"LOOM\"\n"
    ".asciz \"KilnRes\"\n"
    ".balign 4\n"
    "1:\n"
    ".asciz \"TESTLAYOUT\"\n"
    ".ascii \"layout T\\r\\n\"\n"
    "2:\n"
    ".balign 4\n"
    ".popsection\n");

namespace {

using kilnloomfactory::ModuleResources;

void FunctionOfThisProgram() {}

kilnui::loomcontracts::ModuleHandle ModuleOf(const void* address) {
  Dl_info info{};
  if (dladdr(address, &info) == 0) return nullptr;
  return info.dli_fbase;
}

TEST(ModuleResourcesTest, ResourceIsReadFromTheModuleThatCarriesIt) {
  const ModuleResources resources;
  const auto module = ModuleOf(reinterpret_cast<const void*>(&FunctionOfThisProgram));
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(resources.FindResource(module, "LOOM", "TESTLAYOUT"), "layout T\r\n");
  // Any address inside the module names it, and null names the main program.
  EXPECT_EQ(resources.FindResource(reinterpret_cast<const void*>(&FunctionOfThisProgram), "LOOM", "TESTLAYOUT"),
            "layout T\r\n");
  EXPECT_EQ(resources.FindResource(nullptr, "LOOM", "TESTLAYOUT"), "layout T\r\n");
}

TEST(ModuleResourcesTest, OtherNamesTypesAndModulesHaveNone) {
  const ModuleResources resources;
  EXPECT_EQ(resources.FindResource(nullptr, "LOOM", "TESTLAYOUT.SHED"), std::nullopt);
  EXPECT_EQ(resources.FindResource(nullptr, "LOOM", "TESTLAYOU"), std::nullopt);
  EXPECT_EQ(resources.FindResource(nullptr, "TEXT", "TESTLAYOUT"), std::nullopt);
  // The platform's own library carries no such resource.
  const auto platformLibrary = ModuleOf(reinterpret_cast<const void*>(&kilncore::config::Localizer::Get));
  ASSERT_NE(platformLibrary, ModuleOf(reinterpret_cast<const void*>(&FunctionOfThisProgram)));
  EXPECT_EQ(resources.FindResource(platformLibrary, "LOOM", "TESTLAYOUT"), std::nullopt);
  // An address in no module at all.
  int onTheStack = 0;
  EXPECT_EQ(resources.FindResource(&onTheStack, "LOOM", "TESTLAYOUT"), std::nullopt);
}

}  // namespace
