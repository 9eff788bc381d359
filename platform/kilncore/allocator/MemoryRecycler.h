#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace kilncore::allocator {

// The host's allocator for node-based containers (ordered maps and sets) that
// gain and lose entries all the time, usable wherever a standard allocator is.
//
// The host recycles freed nodes through it; this implementation hands the work
// to the global heap, whose allocator already keeps per-size free lists, so the
// class exists to keep the containers' types those of the host. All instances
// are interchangeable. Draws from the global operator new, honouring
// over-alignment.
//
// Example:
//   std::map<TickTime, Segment, std::less<>,
//            MemoryRecycler<std::pair<const TickTime, Segment>>> segments;
template <typename T>
class MemoryRecycler {
 public:
  using value_type = T;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using propagate_on_container_move_assignment = std::true_type;
  using is_always_equal = std::true_type;

  template <typename U>
  struct rebind {
    using other = MemoryRecycler<U>;
  };

  constexpr MemoryRecycler() noexcept = default;
  template <typename U>
  constexpr MemoryRecycler(const MemoryRecycler<U>&) noexcept {}

  [[nodiscard]] T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* pointer, std::size_t count) noexcept {
    std::allocator<T>().deallocate(pointer, count);
  }

  template <typename U>
  friend constexpr bool operator==(const MemoryRecycler&, const MemoryRecycler<U>&) noexcept {
    return true;
  }
};

}  // namespace kilncore::allocator
