#pragma once

#include "road.h"

namespace tavo::devkit
{

// A user chooses another pipeline, moves a sensitivity and draws a line; the application gets the
// other model.
class SettingsRoad : public RunningRoad
{
public:
    using RunningRoad::RunningRoad;

    void attempt() override
    {
        ++m_change;
        enter();
        static_cast<void>(comesTrue([this] { return hasArrived(); }, 2s));
    }

    void recover() override
    {
        // A user who does not see it in the host's record enters it again.
        if (!isInRecord() || !m_wasTaken)
            enter();
        if (!m_wasTaken)
            m_findings.add("settings are not taken any more");
        if (!comesTrue([this] { return hasArrived(); }))
        {
            m_findings.add(
                "the change never arrives: " + m_host.dialogText() + m_machine.deviceRecord(0) +
                managerSettings());
        }
        expectResults();
    }

private:
    struct Choice
    {
        const char* pipeline;
        const char* model;
        const char* copy; // of the model's file
    };

    static constexpr Choice kChoices[] = {{"p1", "m1", "motion.bin"}, {"p2", "m2", "other.bin"}};

    [[nodiscard]] const Choice& choice() const { return kChoices[m_change % 2]; }

    void enter()
    {
        SettingValues values = UserSettings::defaults().valuesFor("");
        values["selectedPipeline"] = choice().pipeline;
        values["maskType"] = m_change % 2 == 0 ? "inclusive" : "exclusive";
        values["model_nms_" + std::string(choice().model)] = std::to_string(40 + m_change % 20);
        m_wasTaken = m_host.apply(values);
        m_wasTaken &= m_host.press("selectAllButton");
    }

    [[nodiscard]] bool isInRecord() const
    {
        const std::string record = m_machine.deviceRecord(0);
        return record.find(R"("selectedPipeline":")" + std::string(choice().pipeline)) !=
            std::string::npos;
    }

    [[nodiscard]] std::string managerSettings() const
    {
        return m_machine.folder().read(Sandbox::inManager("etc/settings.json"));
    }

    [[nodiscard]] bool hasArrived() const
    {
        return isInRecord() && managerSettings().find(choice().copy) != std::string::npos &&
            m_machine.temporaryFiles().find(choice().copy) != std::string::npos;
    }

    int m_change = 0;
    bool m_wasTaken = true;
};

} // namespace tavo::devkit
