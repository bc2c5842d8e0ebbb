#include "records/json_merge.h"

#include "common/json.h"

namespace tavo::devkit
{

namespace
{

yyjson_mut_val* merged(yyjson_mut_doc* document, yyjson_mut_val* target, yyjson_val* patch)
{
    if (!yyjson_is_obj(patch))
        return yyjson_val_mut_copy(document, patch);
    if (!yyjson_mut_is_obj(target))
        target = yyjson_mut_obj(document);

    for (const auto& [name, value] : jsonMembers(patch))
    {
        if (yyjson_is_null(value))
        {
            yyjson_mut_obj_remove_strn(target, name.data(), name.size());
            continue;
        }
        yyjson_mut_val* const present = yyjson_mut_obj_getn(target, name.data(), name.size());
        yyjson_mut_val* const result = merged(document, present, value);
        if (result == present)
            continue;
        yyjson_mut_val* const newKey = yyjson_mut_strncpy(document, name.data(), name.size());
        if (present)
            yyjson_mut_obj_replace(target, newKey, result);
        else
            yyjson_mut_obj_add(target, newKey, result);
    }
    return target;
}

} // namespace

std::optional<std::string> mergePatch(std::string_view original, std::string_view patch)
{
    const JsonDocument originalDocument = parseJson(original);
    const JsonDocument patchDocument = parseJson(patch);
    if (!originalDocument || !patchDocument)
        return std::nullopt;

    const MutableJsonDocument result(yyjson_doc_mut_copy(originalDocument.get(), nullptr));
    yyjson_mut_doc_set_root(
        result.get(),
        merged(
            result.get(), yyjson_mut_doc_get_root(result.get()),
            yyjson_doc_get_root(patchDocument.get())));
    return toText(*result);
}

} // namespace tavo::devkit
