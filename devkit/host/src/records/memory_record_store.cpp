#include <algorithm>
#include <mutex>

#include "records/record_store.h"

namespace tavo::devkit
{

namespace
{

class MemoryRecordStore : public RecordStore
{
public:
    std::optional<std::string> find(RecordKind kind, const std::string& id) const override
    {
        const std::lock_guard lock(m_mutex);
        const auto record = position(kind, id);
        if (record == m_records.end())
            return std::nullopt;
        return record->text;
    }

    void put(RecordKind kind, const std::string& id, const std::string& text) override
    {
        const std::lock_guard lock(m_mutex);
        const auto record = position(kind, id);
        if (record == m_records.end())
            m_records.push_back({kind, id, text});
        else
            m_records[size_t(record - m_records.begin())].text = text;
    }

    void remove(RecordKind kind, const std::string& id) override
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(
            m_records,
            [&](const Record& record) { return record.kind == kind && record.id == id; });
    }

    std::vector<std::string> ids(RecordKind kind) const override
    {
        const std::lock_guard lock(m_mutex);
        std::vector<std::string> result;
        for (const Record& record : m_records)
        {
            if (record.kind == kind)
                result.push_back(record.id);
        }
        return result;
    }

private:
    struct Record
    {
        RecordKind kind;
        std::string id;
        std::string text;
    };

    std::vector<Record>::const_iterator position(RecordKind kind, const std::string& id) const
    {
        return std::find_if(
            m_records.begin(), m_records.end(),
            [&](const Record& record) { return record.kind == kind && record.id == id; });
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Record> m_records; // a few dozen at most: order matters more than search
};

} // namespace

std::unique_ptr<RecordStore> makeMemoryRecordStore()
{
    return std::make_unique<MemoryRecordStore>();
}

} // namespace tavo::devkit
