#include "utils/json.h"

#include <new>

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// Of one document; tells whether it was ever refused any.
struct DocumentMemory
{
    bool wasRefused = false;
};

void* noted(void* context, void* block)
{
    if (!block)
        static_cast<DocumentMemory*>(context)->wasRefused = true;
    return block;
}

void* allocate(void* context, size_t size)
{
    return noted(context, std::malloc(size));
}

void* reallocate(void* context, void* block, size_t /*oldSize*/, size_t size)
{
    return noted(context, std::realloc(block, size));
}

void release(void* /*context*/, void* block)
{
    std::free(block);
}

} // namespace

void JsonDeleter::operator()(yyjson_mut_doc* document) const
{
    // The document lies in memory of its own.
    const std::unique_ptr<DocumentMemory> memory(static_cast<DocumentMemory*>(document->alc.ctx));
    yyjson_mut_doc_free(document);
}

JsonDocument parseJson(std::string_view text)
{
    yyjson_read_err error = {};
    JsonDocument document(yyjson_read_opts(
        const_cast<char*>(text.data()), text.size(), YYJSON_READ_NOFLAG, nullptr, &error));
    if (error.code == YYJSON_READ_ERROR_MEMORY_ALLOCATION)
        throw std::bad_alloc();
    return document;
}

MutableJsonDocument newJsonDocument()
{
    auto memory = std::make_unique<DocumentMemory>();
    const yyjson_alc allocator{&allocate, &reallocate, &release, memory.get()};
    MutableJsonDocument document(yyjson_mut_doc_new(&allocator));
    if (!document)
        throw std::bad_alloc();
    static_cast<void>(memory.release()); // the document's
    return document;
}

std::pair<MutableJsonDocument, yyjson_mut_val*> newJsonObject()
{
    MutableJsonDocument document = newJsonDocument();
    yyjson_mut_val* const root = yyjson_mut_obj(document.get());
    yyjson_mut_doc_set_root(document.get(), root);
    return {std::move(document), root};
}

void requireWhole(const yyjson_mut_doc* document)
{
    const auto* const memory = static_cast<const DocumentMemory*>(document->alc.ctx);
    if (memory && memory->wasRefused)
        throw std::bad_alloc();
}

std::optional<std::string> writeJson(const yyjson_mut_doc* document, yyjson_write_flag flags)
{
    requireWhole(document);
    std::size_t size{};
    const std::unique_ptr<char, decltype(&std::free)> text(
        yyjson_mut_write(document, flags, &size), &std::free);
    return text ? std::optional(std::string(text.get(), size)) : std::nullopt;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
