#pragma once

namespace tavo::test_support
{

// One of this process's standard streams, with nobody to read it, for as long as this lives. A
// broken pipe is taken as a host that handles nothing takes it.
class BrokenStream
{
public:
    enum class Stream
    {
        output = 1,
        error = 2,
    };

    explicit BrokenStream(Stream stream);
    ~BrokenStream();
    BrokenStream(const BrokenStream&) = delete;
    BrokenStream& operator=(const BrokenStream&) = delete;

    // Whether a signal of the broken pipe waits to be delivered.
    [[nodiscard]] bool hasLeftSignal() const;

private:
    const int m_stream;
    const int m_former;
    void (*const m_formerHandler)(int);
};

} // namespace tavo::test_support
