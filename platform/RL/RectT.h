#pragma once

namespace RL {

// An axis-aligned rectangle given by its edges; right and bottom are exclusive,
// so a frame size is {0, 0, width, height}.
template <class T>
struct RectT {
  T left{};
  T top{};
  T right{};
  T bottom{};

  constexpr T Width() const noexcept { return right - left; }
  constexpr T Height() const noexcept { return bottom - top; }

  friend constexpr bool operator==(const RectT&, const RectT&) noexcept = default;
};

}  // namespace RL
