#include <tavo/sdk/helpers/error.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/helpers/string.h>

namespace tavo::sdk
{

namespace
{

// Not counted: it is there as long as the library is.
class ConstantText : public IString
{
public:
    explicit constexpr ConstantText(const char* text) :
        m_text(text)
    {}

    // IString:
    const char* str() const override { return m_text; }

    // IRefCountable:
    TAVO_DESTRUCTOR_OVERRIDE(ConstantText) = default;
    std::uint32_t addRef() const override { return 1; }
    std::uint32_t releaseRef() const override { return 1; }

private:
    const char* const m_text;
};

Error internalError(const char* text) noexcept
{
    try
    {
        return error(ErrorCode::internalError, *text ? text : "Unknown error");
    }
    catch (...)
    {
        return outOfMemory();
    }
}

} // namespace

Error error(ErrorCode errorCode, std::string errorMessage)
{
    kit::verify(
        errorCode != ErrorCode::noError, "errorCode != ErrorCode::noError",
        "Error code must differ from `ErrorCode::noError`");
    kit::verify(!errorMessage.empty(), "!errorMessage.empty()", "Error message must not be empty");

    kit::printLine("tavo::sdk::error(): " + errorMessage);
    return {errorCode, new String(std::move(errorMessage))};
}

Error outOfMemory() noexcept
{
    alignas(ConstantText) static std::byte memory[sizeof(ConstantText)];
    static const ConstantText* const message = new (memory) ConstantText("Not enough memory");
    return {ErrorCode::otherError, message};
}

Error errorOfException() noexcept
{
    try
    {
        throw;
    }
    catch (const std::bad_alloc&)
    {}
    catch (const std::exception& exception)
    {
        return internalError(exception.what());
    }
    catch (...)
    {
        return internalError("");
    }
    kit::printLine("tavo::sdk::error(): Not enough memory");
    return outOfMemory();
}

} // namespace tavo::sdk
