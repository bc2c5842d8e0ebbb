#pragma once

#include <atomic>
#include <memory>
#include <span>
#include <utility>

#include "utils/mpack_tree.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A device's pipelines as every input message carries them: MessagePack, encoded once when they
// are read instead of with every frame. Any thread may call.
class ParsedPipelines
{
public:
    // Null takes away those that were there.
    void adopt(std::unique_ptr<MpackTree> tree) EXCLUDES(m_pipelineLock)
    {
        const MutexLock lock(m_pipelineLock);
        if (tree)
            m_pipelineParsed = true;
        m_pipelineTree = std::move(tree);
    }

    // Whether there ever were any: frames then pass, also without those that went away.
    [[nodiscard]] bool wereThere() const { return m_pipelineParsed; }

    // What `encode` makes of their bytes, one whole MessagePack value or nothing. These are good
    // for the call.
    template <class Encode>
    auto use(Encode encode) EXCLUDES(m_pipelineLock)
    {
        const MutexLock lock(m_pipelineLock);
        return encode(m_pipelineTree ? m_pipelineTree->bytes() : std::span<const char>());
    }

private:
    Mutex m_pipelineLock{LockLevel::pipeline};
    std::unique_ptr<MpackTree> m_pipelineTree GUARDED_BY(m_pipelineLock);
    std::atomic<bool> m_pipelineParsed{false}; // written under the lock
};

} // namespace tavo::vms_server_plugins::analytics::orlix
