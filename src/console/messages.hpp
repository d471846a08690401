// Every user-facing message of orvconfig is printed through these functions, and every
// yes/no question is asked here. This module depends only on the standard library, so
// every layer (the text engine included) prints through it.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace orv {

// Message texts printed by more than one module.
inline constexpr const char* kCannotOpenFileMessage = "Cannot open file %s.";
inline constexpr const char* kCannotOpenTheFileMessage = "Cannot open the file %s.";
// A result reported as a failure of the whole command.
inline constexpr const char* kCommandFailedMessage = "Command failed.";

// Set by a trailing "-f": every confirmation then counts as answered yes.
extern int silent;

// Expands a message text: each "%s" or "%d" takes the next argument as it stands,
// "%%" prints one "%". Missing arguments expand to nothing.
std::string formatMessage(std::string_view format, std::initializer_list<std::string_view> args);

// Writes text to standard output exactly as given (no newline added).
void printText(std::string_view text);

// The message functions: the text (with its parameters), then a separate newline.
// A null key or parameter prints nothing and gives -1; otherwise 1.
long alertI18n(const char* key);
long alertI18nWithParameter(const char* key, const char* param);
long alertI18nWithTwoParameters(const char* key, const char* param0, const char* param1);
long alertI18nWithThreeParameters(const char* key, const char* param0, const char* param1,
                                  const char* param2);

// Convenience forms for callers that hold std::string values.
inline long alertI18nWithParameter(const char* key, const std::string& param) {
    return alertI18nWithParameter(key, param.c_str());
}
inline long alertI18nWithTwoParameters(const char* key, const std::string& p0,
                                       const std::string& p1) {
    return alertI18nWithTwoParameters(key, p0.c_str(), p1.c_str());
}

// First character of the next line of standard input (the newline for an empty line);
// 'n' once standard input is exhausted, so an unattended run never loops for ever.
char getAnswer();

// Asks until the answer is a lower-case 'y' or 'n' (or takes 'y' when silent is set).
// Returns the deciding character.
char askYesNo(const std::string& prompt);

// The three confirmations guarding a move onto the shared directory. Each is asked at
// most once per run; later calls return the first decision.
int showWarning();
int showWarning2(const std::string& sharedTop);
int showServiceWarning();

// "Warning: The format of file %s is error in line %s. "
void showFormatWarning(const std::string& filename, int linenumber);

// Flushes standard output (done before any read of standard input).
void flushOutput();

// Writes one line to standard error, after what standard output holds so far. For notes
// that must not change what standard output says (a run that cannot be undone).
void printErrorLine(std::string_view text);

}  // namespace orv
