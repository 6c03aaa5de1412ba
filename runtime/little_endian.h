// Little-endian integers in byte buffers: the form of every number in the
// configuration store, the registry file and the stored settings, whatever the
// host's own byte order.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace little_endian {

template <std::unsigned_integral T>
constexpr T Load(const std::uint8_t* p) {
  T value = 0;
  for (std::size_t i = sizeof(T); i-- > 0;) {
    value = static_cast<T>(value << 8 | p[i]);
  }
  return value;
}

template <std::unsigned_integral T>
constexpr void Store(std::uint8_t* p, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    p[i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

}  // namespace little_endian
