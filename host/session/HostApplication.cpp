#include <host/session/HostApplication.h>

#include <host/cli/OptionParsing.h>

#include <Crate/ApplicationType.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace tetherhost {

void HostApplication::PlayFromEnvironment() {
  const char* text = std::getenv("TETHERHOST_APPLICATION_TYPE");
  if (text == nullptr || *text == '\0') return;
  try {
    Crate::SetApplicationType(static_cast<Crate::ApplicationType>(ParseIntegerInRange(text, 0, 1000)));
  } catch (const std::invalid_argument& e) {
    throw std::invalid_argument("TETHERHOST_APPLICATION_TYPE: " + std::string(e.what()));
  }
}

}  // namespace tetherhost
