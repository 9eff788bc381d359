#include <kilncore/config/ThrowError.h>

#include <kilncore/config/Localizer.h>

namespace kilncore::config {

void ThrowError(ErrorLevel level, std::string_view text) {
  throw KilnError(level, std::string(text), Localizer::Get().Localize(text));
}

}  // namespace kilncore::config
