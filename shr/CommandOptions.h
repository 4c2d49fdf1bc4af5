#pragma once
// CommandOptions: a command for the host with named options, as a context-menu
// entry or a module's request carries it. The text form is a command line:
//
//   Import FilterDataType=32769 TargetName="Well data 1" XCol=1
//
// the command word first, then name=value pairs in order. A value with blanks,
// quotes or backslashes, or an empty one, is written in double quotes with \"
// and \\ escapes. Option names are unique and keep their first position.
#include "shr/GString.h"

#include <utility>
#include <vector>

namespace shr {

class CommandOptions {
public:
    using Option = std::pair<GString, GString>;

    CommandOptions() = default;
    // Parses a command line; throws an Exception naming the fault for text that
    // is not "command name=value ...".
    explicit CommandOptions(const GString& commandLine);

    const GString& Command() const { return m_Command; }
    void SetCommand(const GString& command) { m_Command = command; }

    // Sets an option, replacing the value of an existing one in place.
    void Set(const GString& name, const GString& value);
    // The value of an option; false if there is none.
    bool Get(const GString& name, GString& value) const;
    bool Has(const GString& name) const;
    const std::vector<Option>& Options() const { return m_Options; }

    GString ToString() const;

    bool operator==(const CommandOptions& o) const { return m_Command == o.m_Command && m_Options == o.m_Options; }
    bool operator!=(const CommandOptions& o) const { return !(*this == o); }

private:
    GString m_Command;
    std::vector<Option> m_Options;
};

} // namespace shr
