#pragma once

#include <initializer_list>
#include <string>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

enum class Verdict
{
    good,
    attention, // works, or will by itself; worth a look
    bad, // does not work until somebody does something
};

// What may be wrong with a fact.
struct Fault
{
    bool isSo = false;
    Verdict verdict = Verdict::bad;
    std::string what;
    std::string wayOut; // of ways_out.h
};

// One fact about this machine, and what follows from it.
struct Finding
{
    std::string subject; // a word or two: what it is about
    std::string text; // one line
    Verdict verdict = Verdict::good;
    std::string wayOut; // what to do about it; empty for a good one
};

class Findings
{
public:
    // The first of the faults that is so gives the verdict, and ends the text; without one all is
    // good.
    void add(
        const std::string& subject, const std::string& text,
        std::initializer_list<Fault> faults = {});

    // Of the worst: 0 good, 1 attention, 2 bad.
    [[nodiscard]] int exitCode() const;

    // A line each, "<subject>: <text> [<verdict>]", with the way out in a line below it.
    [[nodiscard]] std::string text() const;

    // Each into the log, in one line with its way out.
    void log() const;

    // {"verdict": ..., "findings": [{"subject", "text", "verdict", "wayOut"}, ...]}
    [[nodiscard]] std::string json() const;

private:
    std::vector<Finding> m_all;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
