#include "new_server.h"

#include <cstdio>

#include "json_text.h"

namespace tavo::devkit
{

std::string newDeviceId(int index)
{
    char id[40];
    std::snprintf(id, sizeof id, "d3a0c5b4-6f1e-4b7a-9c28-%012d", index + 1);
    return id;
}

std::string newServerRecords(const std::string& token, const std::vector<std::string>& cameras)
{
    const auto document = vms_server_plugins::analytics::orlix::newJsonDocument();
    yyjson_mut_doc* const doc = document.get();
    yyjson_mut_val* const root = yyjson_mut_obj(doc);
    yyjson_mut_doc_set_root(doc, root);
    addText(doc, root, "cloudSystemId", "system");
    addText(doc, root, "cloudAuthToken", token);
    yyjson_mut_val* const server = yyjson_mut_obj_add_obj(doc, root, "server");
    addText(doc, server, "id", "server");
    yyjson_mut_obj_add_obj(doc, server, "parameters");
    yyjson_mut_val* const devices = yyjson_mut_obj_add_arr(doc, root, "devices");
    for (std::size_t i = 0; i < cameras.size(); ++i)
    {
        yyjson_mut_val* const device = yyjson_mut_arr_add_obj(doc, devices);
        addText(doc, device, "id", newDeviceId(static_cast<int>(i)));
        addText(doc, device, "name", cameras[i]);
        yyjson_mut_obj_add_obj(doc, device, "parameters");
    }
    return written(doc);
}

std::string iniText(const std::string& url, const std::vector<std::string>& options)
{
    std::string text = "CloudAPI=" + url + "/dev\nRuntimesStorageURL=" + url +
        "/runtimes\nOrlixManagerStorageURL=" + url + "/apps\n";
    for (const std::string& option : options)
        text += option + "\n";
    return text;
}

} // namespace tavo::devkit
