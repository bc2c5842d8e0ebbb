#include "device_agent/settings/figures.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "utils/json.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// A double beyond the range of a float becomes its nearest end.
float toFloat(double value)
{
    constexpr double kMax = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -kMax, kMax));
}

float anyNumber(yyjson_val* value)
{
    return toFloat(yyjson_get_num(value)); // 0 for null and for all that is no number
}

float realNumber(yyjson_val* value)
{
    return toFloat(yyjson_get_real(value));
}

struct ParsedPoints
{
    FigureOutcome outcome;
    JsonDocument document; // holds `points`
    yyjson_val* points = nullptr;
};

ParsedPoints parsePoints(std::string_view text)
{
    JsonDocument document = parseJson(text);
    if (!document)
        return {FigureOutcome::notJson, nullptr};
    yyjson_val* const points =
        jsonMember(jsonMember(yyjson_doc_get_root(document.get()), "figure"), "points");
    if (!yyjson_is_arr(points))
        return {FigureOutcome::noPoints, nullptr};
    return {FigureOutcome::parsed, std::move(document), points};
}

} // namespace

Figure parsePolygon(std::string_view text)
{
    const ParsedPoints parsed = parsePoints(text);
    Figure figure{parsed.outcome, {}};
    if (parsed.outcome != FigureOutcome::parsed)
        return figure;

    yyjson_arr_iter points = yyjson_arr_iter_with(parsed.points);
    while (yyjson_val* const point = yyjson_arr_iter_next(&points))
    {
        figure.coordinates.push_back(anyNumber(yyjson_arr_get(point, 0)));
        figure.coordinates.push_back(anyNumber(yyjson_arr_get(point, 1)));
    }
    return figure;
}

Figure parseLine(std::string_view text)
{
    const ParsedPoints parsed = parsePoints(text);
    if (parsed.outcome != FigureOutcome::parsed)
        return {parsed.outcome, {}};
    if (yyjson_arr_size(parsed.points) < 2)
        return {FigureOutcome::wrongShape, {}};

    Figure figure;
    for (const std::size_t index : {0u, 1u})
    {
        yyjson_val* const point = yyjson_arr_get(parsed.points, index);
        figure.coordinates.push_back(realNumber(yyjson_arr_get(point, 0)));
        figure.coordinates.push_back(realNumber(yyjson_arr_get(point, 1)));
    }
    return figure;
}

Figure parseBox(std::string_view text)
{
    const ParsedPoints parsed = parsePoints(text);
    if (parsed.outcome != FigureOutcome::parsed)
        return {parsed.outcome, {}};
    if (yyjson_arr_size(parsed.points) != 2)
        return {FigureOutcome::wrongShape, {}};

    std::vector<float> corners;
    yyjson_arr_iter points = yyjson_arr_iter_with(parsed.points);
    while (yyjson_val* const point = yyjson_arr_iter_next(&points))
    {
        if (yyjson_arr_size(point) != 2) // also 0 for what is no array
            return {FigureOutcome::wrongShape, {}};
        for (const std::size_t index : {0u, 1u})
        {
            const float value = anyNumber(yyjson_arr_get(point, index));
            corners.push_back(std::clamp(value, 0.0f, 1.0f));
        }
    }
    const auto [left, right] = std::minmax({corners[0], corners[2]});
    const auto [top, bottom] = std::minmax({corners[1], corners[3]});
    return {FigureOutcome::parsed, {left, top, right, bottom}};
}

} // namespace tavo::vms_server_plugins::analytics::orlix
