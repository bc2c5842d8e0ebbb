#include "device_info.h"

#include "common/json.h"

namespace tavo::devkit
{

DeviceInfo::DeviceInfo(std::string_view deviceRecord)
{
    const JsonDocument document = parseJson(deviceRecord);
    yyjson_val* const record = yyjson_doc_get_root(document.get());
    m_id = stringMember(record, "id");
    m_vendor = stringMember(record, "vendor");
    m_model = stringMember(record, "model");
    m_firmware = stringMember(record, "firmware");
    m_name = stringMember(record, "name");
    m_url = stringMember(record, "url");
    m_logicalId = stringMember(record, "logicalId");
}

} // namespace tavo::devkit
