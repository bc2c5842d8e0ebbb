// Puts the head of a response together from its lines, as they come from the transport: heads of
// interim answers (100 to 199) are passed over, and so is what follows the final one.
#pragma once

#include <optional>
#include <string_view>

#include <tavo/network/http/http_types.h>

namespace tavo::network::http
{

class HeadParser
{
public:
    static constexpr size_t kMaxHeadSize = 256 * 1024;

    // `line` may have its line end. False if the heads together are larger than kMaxHeadSize.
    [[nodiscard]] bool addLine(std::string_view line);

    // The final head once its last line has come.
    const std::optional<Response>& response() const { return m_response; }

private:
    Response m_pending;
    std::optional<Response> m_response;
    size_t m_size = 0;
};

} // namespace tavo::network::http
