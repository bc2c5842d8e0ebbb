// How an operation of an interface reports: a code and a text on failure, a value on success.
// A plain record that crosses the ABI: it counts nothing by itself. Whoever receives one owns the
// references inside, that of the message as well as that of a counted value.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <tavo/sdk/i_string.h>

namespace tavo::sdk
{

enum class ErrorCode : int32_t
{
    noError = 0,
    unauthorized = -1,
    notImplemented = -21,
    networkError = -22,
    otherError = -100,
    needMoreData = -102,
    inProgress = -103,
    internalError = -1000,
    invalidParams = -1001,
};

// A failure on its way into a Result; made by error(). Whoever receives it owns the message.
struct [[nodiscard]] Error
{
    ErrorCode errorCode = ErrorCode::noError;
    const IString* errorMessage = nullptr;
};

template <class Value>
struct [[nodiscard]] Result
{
    static_assert(__is_trivially_copyable(Value), "a result is copied as bytes");

    ErrorCode errorCode = ErrorCode::noError;
    const IString* errorMessage = nullptr;
    Value value{};

    Result() = default;
    Result(Value successValue) :
        value(successValue)
    {}
    Result(const Error& error) :
        errorCode(error.errorCode),
        errorMessage(error.errorMessage)
    {}

    bool isOk() const { return errorCode == ErrorCode::noError && !errorMessage; }
};

template <>
struct [[nodiscard]] Result<void>
{
    ErrorCode errorCode = ErrorCode::noError;
    const IString* errorMessage = nullptr;

    Result() = default;
    Result(const Error& error) :
        errorCode(error.errorCode),
        errorMessage(error.errorMessage)
    {}

    bool isOk() const { return errorCode == ErrorCode::noError && !errorMessage; }
};

static_assert(sizeof(ErrorCode) == 4);
static_assert(__is_trivially_copyable(Result<void*>));
static_assert(__is_standard_layout(Result<void*>));
static_assert(sizeof(Result<void*>) == 24 && sizeof(Result<void>) == 16);
static_assert(offsetof(Result<void*>, errorCode) == 0);
static_assert(offsetof(Result<void*>, errorMessage) == 8);
static_assert(offsetof(Result<void*>, value) == 16);

} // namespace tavo::sdk
