#pragma once

#include <memory>
#include <string>
#include <vector>

#include "findings.h"

namespace tavo::devkit
{

// A road through the library that is gone again and again, in one process.
class Road
{
public:
    virtual ~Road() = default;

    // Whose calls count, of failing_calls::Callers.
    [[nodiscard]] virtual unsigned callers() const = 0;

    // Goes it once. A call may fail on the way: then it has to end somehow, and in time.
    virtual void attempt() = 0;

    // Nothing fails any more: all has to come about, from whatever the attempt has left.
    virtual void recover() = 0;

    // Whether nothing of the library is there between two goes, so that its memory can be counted.
    [[nodiscard]] virtual bool isUnloaded() const = 0;

protected:
    explicit Road(Findings& findings) :
        m_findings(findings)
    {}

    Findings& m_findings;
};

[[nodiscard]] const std::vector<std::string>& roadNames();
[[nodiscard]] std::unique_ptr<Road> makeRoad(const std::string& name, Findings& findings);

} // namespace tavo::devkit
