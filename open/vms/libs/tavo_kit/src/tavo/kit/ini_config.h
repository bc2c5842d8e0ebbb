// Options of a program part from a small text file, for support and development. Each line is
// "name=value"; lines that begin with ";" or "#" are comments.
//
// A subclass has a plain field for each option, registers them in its constructor and then calls
// reload(). What the file lacks keeps its default, and so does an option whose value makes no
// sense; such a value, a name that nobody registered and a line that is none of the above are
// reported on standard error and kept as complaints. A missing file is no fault.
//
// The file is looked for in a folder of the platform's, on Linux $TAVO_INI_DIR, else
// $XDG_CONFIG_HOME/tavo_ini, else ~/.config/tavo_ini.
//
// Fields are written by registration and reload alone, without a lock: nobody may read them
// meanwhile.
#pragma once

#include <filesystem>
#include <list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tavo::kit
{

class IniConfig
{
public:
    // `iniFileName` has no folder in it.
    explicit IniConfig(std::string iniFileName);
    virtual ~IniConfig() = default;

    IniConfig(const IniConfig&) = delete;
    IniConfig& operator=(const IniConfig&) = delete;

    // What could not be used, and what is used instead.
    struct Complaint
    {
        std::string option; // as the file has it; empty: a line, or the file as a whole
        std::string text;
    };

    struct Option
    {
        std::string name;
        std::string value; // as it would stand in the file
        bool isFromFile = false; // else its default
    };

    // Of the last reload(), in the order of the file. The first kMaxComplaints of them.
    static constexpr size_t kMaxComplaints = 20;
    const std::vector<Complaint>& complaints() const { return m_complaints; }

    // As the fields are now, in the order of their registration.
    std::vector<Option> options() const;

    // Empty if the platform names no folder.
    std::filesystem::path iniFilePath() const;

    // Reads the file again; an option that is no longer in it falls back to its default. Texts
    // handed out before stay valid as long as this object lives.
    void reload();

protected:
    // Each sets the field to the default. The field must live as long as this object.
    void regBoolParam(bool* field, bool defaultValue, std::string name, std::string description);
    void regIntParam(int* field, int defaultValue, std::string name, std::string description);
    void regStringParam( // the text belongs to this object
        const char** field, const char* defaultValue, std::string name, std::string description);

private:
    template <class Value>
    struct Target
    {
        Value* field;
        Value defaultValue; // a text is in m_texts
    };

    struct Param
    {
        std::string name;
        std::variant<Target<bool>, Target<int>, Target<const char*>> target;
        bool isFromFile = false;
    };

    template <class Value>
    void reg(Value* field, Value defaultValue, std::string name);
    const char* keepText(std::string_view text);
    void setToDefaults();
    void apply(const std::string& content);
    void applyValue(std::string_view name, std::string_view value);
    std::string shownPath() const;
    void report(const std::string& text, std::string_view option = {});

    const std::string m_iniFileName;
    std::vector<Param> m_params;
    std::list<std::string> m_texts; // nothing is ever taken out
    std::vector<Complaint> m_complaints;
};

} // namespace tavo::kit
