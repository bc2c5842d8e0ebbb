#pragma once

#include <compare>
#include <cstdint>
#include <limits>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A score above 0 and what has it, in one number, so that one comparison of whole numbers orders
// them: the higher score is the greater, and of equal scores the lower index. None is below all.
class Scored
{
public:
    Scored() = default;

    // `scoreBits` is the score's representation: those of floats above 0 rise as they do.
    Scored(std::uint32_t scoreBits, std::uint32_t index) :
        m_rank(std::uint64_t{scoreBits} << 32 | std::uint32_t{~index})
    {}

    static_assert(std::numeric_limits<float>::is_iec559);

    [[nodiscard]] std::uint32_t scoreBits() const { return std::uint32_t(m_rank >> 32); }
    [[nodiscard]] std::uint32_t index() const { return ~std::uint32_t(m_rank); }
    [[nodiscard]] bool isNone() const { return m_rank == 0; }

    auto operator<=>(const Scored&) const = default; // NOLINT(modernize-use-nullptr)

private:
    std::uint64_t m_rank = 0;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
