#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Smooths the counts of each name: what is shown is the most frequent of the last twenty. A name
// keeps its history for the life of this object. Not synchronised.
class CountHistory
{
public:
    // Adds `count` and gives the most frequent value of the window; of equally frequent ones that
    // which entered first.
    [[nodiscard]] std::uint64_t add(const std::string& name, std::uint64_t count);

private:
    static constexpr std::size_t kCountWindow = 20;

    std::unordered_map<std::string, std::vector<std::uint64_t>> m_counts; // oldest first
};

} // namespace tavo::vms_server_plugins::analytics::orlix
