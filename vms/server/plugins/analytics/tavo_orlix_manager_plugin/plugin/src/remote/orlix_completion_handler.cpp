#include "remote/orlix_completion_handler.h"

#include <exception>
#include <stdexcept>

#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/ptr.h>

#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

ORLIXCompletionHandler::ORLIXCompletionHandler() :
    m_state(std::make_shared<State>())
{}

std::future<ORLIXCompletionHandler::Response> ORLIXCompletionHandler::response()
{
    return m_state->promise.get_future();
}

void ORLIXCompletionHandler::awaitHost()
{
    m_state->awaitsHost = true;
    // Of this reference and the host's last one, one is given back with awaitsHost set and only the
    // waiting thread's left.
    addRef();
    releaseRef();
}

void ORLIXCompletionHandler::abandon(const char* reason) const
{
    m_state->abandon(reason);
}

void ORLIXCompletionHandler::execute(Response response)
{
    m_state->executed = true;
    if (!m_state->answered.test_and_set())
    {
        sdk::atBorder([&] { m_state->promise.set_value(response); });
        return;
    }
    log_info("Warning! Dropped an answer of the host that nobody waits for.\n");
    const sdk::Ptr<const sdk::IString> droppedMessage(response.errorMessage);
    const sdk::Ptr<const sdk::IString> droppedValue(response.value);
}

std::uint32_t ORLIXCompletionHandler::releaseRef() const
{
    const std::shared_ptr<State> state = m_state;
    const std::uint32_t count = RefCountable::releaseRef();
    if (count == 1 && state->awaitsHost) // the waiting thread's is left
        state->abandon("The host gave the request up.");
    return count;
}

void ORLIXCompletionHandler::State::abandon(const char* reason)
{
    if (answered.test_and_set())
        return;
    try
    {
        throw std::runtime_error(reason);
    }
    catch (...)
    {
        // That one, or that there is no memory for its text: somebody waits for either.
        promise.set_exception(std::current_exception());
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
