#pragma once

namespace tetherhost {

// Which host application tetherhost plays: the number that
// Crate::GetApplicationType answers to the module, from the environment
// variable TETHERHOST_APPLICATION_TYPE (a whole number, 0..1000; unset or
// empty: the reference host's own, 0). Some owners are offered only in some
// hosts: an Easel document opens only where the type is 11.
class HostApplication {
 public:
  // Reads the variable and sets the type; throws std::invalid_argument for a
  // value that isn't a whole number in range.
  static void PlayFromEnvironment();
};

}  // namespace tetherhost
