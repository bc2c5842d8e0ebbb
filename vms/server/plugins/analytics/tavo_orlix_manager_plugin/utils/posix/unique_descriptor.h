#pragma once

#include <unistd.h>
#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Owns a file descriptor; -1 is none.
class UniqueDescriptor
{
public:
    UniqueDescriptor() = default;
    explicit UniqueDescriptor(int descriptor) :
        m_descriptor(descriptor)
    {}
    ~UniqueDescriptor() { reset(); }
    UniqueDescriptor(UniqueDescriptor&& other) noexcept :
        m_descriptor(other.release())
    {}
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept
    {
        reset(other.release());
        return *this;
    }

    [[nodiscard]] int get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }

    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }

    void reset(int descriptor = -1)
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
        m_descriptor = descriptor;
    }

private:
    int m_descriptor = -1;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
