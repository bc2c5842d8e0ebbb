#pragma once

#include <string_view>
#include <vector>

// The figures that a user draws in the settings dialog, as the host stores them: JSON text
// {"figure": {"points": [[x, y], ...]}}, coordinates being fractions of the image. No state, no
// log: what went wrong is told by the outcome, since each figure has its own way to report it.

namespace tavo::vms_server_plugins::analytics::orlix
{

enum class FigureOutcome
{
    parsed,
    notJson,
    noPoints, // JSON without an array at figure.points
    wrongShape, // points, but not those of this kind of figure
};

struct Figure
{
    FigureOutcome outcome = FigureOutcome::parsed;
    std::vector<float> coordinates; // x, y, x, y, ...; empty unless parsed
};

// Any number of points, each giving its first two numbers; what is no number reads as 0.
[[nodiscard]] Figure parsePolygon(std::string_view text);

// The first two points. Only real numbers count: an integer reads as 0, unlike in the others, and
// fewer than two points are a wrong shape.
[[nodiscard]] Figure parseLine(std::string_view text);

// Exactly two points of exactly two values, clamped to 0 to 1 and put in order, so that
// x1 <= x2 and y1 <= y2; what is no number reads as 0.
[[nodiscard]] Figure parseBox(std::string_view text);

} // namespace tavo::vms_server_plugins::analytics::orlix
