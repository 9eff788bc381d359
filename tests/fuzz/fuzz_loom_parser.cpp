// Reads arbitrary bytes as a Loom layout, in the flavour the first byte picks,
// and builds the controls of whatever reads. A layout that can't be read must
// end in LoomSyntaxError: any other exception, crash or sanitizer report is a
// finding.
#include <kilnloomfactory/LoomControlBuilder.h>
#include <kilnloomfactory/loom/LoomParser.h>
#include <kilnloomfactory/loom/LoomSyntaxError.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto flavour = (data[0] & 1) ? kilnloomfactory::loom::LoomFlavour::kShed
                                     : kilnloomfactory::loom::LoomFlavour::kKiln;
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  try {
    const auto layout = kilnloomfactory::loom::ParseLoom(text, flavour);
    kilnloomfactory::BuildLoomDialog(layout);
  } catch (const kilnloomfactory::loom::LoomSyntaxError&) {
  }
  return 0;
}
