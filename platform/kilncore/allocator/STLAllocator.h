#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace kilncore::allocator {

// The host's allocator for small long-lived objects, usable wherever a standard
// allocator is: in containers and with std::allocate_shared.
//
// All instances are interchangeable (memory from one may be freed by any
// other), so containers may swap and move freely. It draws from the global
// operator new, honouring over-alignment.
//
// Example:
//   auto module = std::allocate_shared<Module>(STLAllocator<Module>());
//   std::vector<int, STLAllocator<int>> values;
template <typename T>
class STLAllocator {
 public:
  using value_type = T;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using propagate_on_container_move_assignment = std::true_type;
  using is_always_equal = std::true_type;

  template <typename U>
  struct rebind {
    using other = STLAllocator<U>;
  };

  constexpr STLAllocator() noexcept = default;
  template <typename U>
  constexpr STLAllocator(const STLAllocator<U>&) noexcept {}

  [[nodiscard]] T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* pointer, std::size_t count) noexcept {
    std::allocator<T>().deallocate(pointer, count);
  }

  template <typename U>
  friend constexpr bool operator==(const STLAllocator&, const STLAllocator<U>&) noexcept {
    return true;
  }
};

}  // namespace kilncore::allocator
