#include <kilncore/debug/TypeName.h>

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace kilncore::debug {

std::string GetTypeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> demangled(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  return status == 0 && demangled ? std::string(demangled.get()) : std::string(type.name());
}

}  // namespace kilncore::debug
