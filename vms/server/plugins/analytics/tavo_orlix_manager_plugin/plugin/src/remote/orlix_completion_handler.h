#pragma once

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_utility_provider.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Where the host's answer to one request arrives. One thread makes the handler, keeps its reference
// and waits on response(); the host executes the handler on a thread of its choosing, which is not
// held up: no lock is taken there.
//
// Only the first answer counts. The answer is the waiting thread's, with the references in it;
// those of later answers are released here.
class ORLIXCompletionHandler
    : public sdk::RefCountable<sdk::IUtilityProvider4::IHttpRequestCompletionHandler>
{
public:
    using Response = sdk::Result<const sdk::IString*>;

    ORLIXCompletionHandler();

    // To be called once. Getting the answer throws std::runtime_error with its text after
    // abandon().
    [[nodiscard]] std::future<Response> response();

    // The host has taken the request and is done with the handler as an argument: from now on one
    // that holds no reference will never answer, as when it shuts down, and that ends the wait. A
    // host that is still taking the request may take references and give them back as it likes.
    void awaitHost();

    // Nobody waits any more: ends a wait, and an answer that comes yet is released. Any thread.
    void abandon(const char* reason) const;

    // Whether the host executed it, abandoned or not.
    [[nodiscard]] bool executed() const { return m_state->executed; }

    // IHttpRequestCompletionHandler:
    void execute(Response response) override;
    std::uint32_t releaseRef() const override;

private:
    struct State
    {
        std::promise<Response> promise;
        std::atomic_flag answered;
        std::atomic<bool> executed{false};
        std::atomic<bool> awaitsHost{false};

        void abandon(const char* reason);
    };

    const std::shared_ptr<State> m_state; // outlives this object within releaseRef
};

} // namespace tavo::vms_server_plugins::analytics::orlix
