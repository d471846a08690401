// Message printing, the answer reader and the yes/no confirmations.
#include "console/messages.hpp"

#include <cstdio>
#include <string>

namespace orv {

int silent = 0;

std::string formatMessage(std::string_view format, std::initializer_list<std::string_view> args) {
    std::string out;
    out.reserve(format.size());
    const auto* next = args.begin();
    for (std::size_t i = 0; i < format.size(); ++i) {
        const char c = format[i];
        const char conversion = (i + 1 < format.size()) ? format[i + 1] : '\0';
        if (c != '%' || (conversion != 's' && conversion != 'd' && conversion != '%')) {
            out += c;
            continue;
        }
        ++i;
        if (conversion == '%') {
            out += '%';
        } else if (next != args.end()) {
            out.append(next->data(), next->size());
            ++next;
        }
    }
    return out;
}

void printText(std::string_view text) {
    if (!text.empty()) {
        std::fwrite(text.data(), 1, text.size(), stdout);
    }
}

void flushOutput() {
    std::fflush(stdout);
}

void printErrorLine(std::string_view text) {
    flushOutput();
    std::string line(text);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

namespace {

// The text, then the newline as a separate write.
long printLine(std::string_view key, std::initializer_list<std::string_view> args) {
    printText(formatMessage(key, args));
    printText("\n");
    return 1;
}

}  // namespace

long alertI18n(const char* key) {
    if (key == nullptr) {
        return -1;
    }
    return printLine(key, {});
}

long alertI18nWithParameter(const char* key, const char* param) {
    if (key == nullptr || param == nullptr) {
        return -1;
    }
    return printLine(key, {param});
}

long alertI18nWithTwoParameters(const char* key, const char* param0, const char* param1) {
    if (key == nullptr || param0 == nullptr || param1 == nullptr) {
        return -1;
    }
    return printLine(key, {param0, param1});
}

long alertI18nWithThreeParameters(const char* key, const char* param0, const char* param1,
                                  const char* param2) {
    if (key == nullptr || param0 == nullptr || param1 == nullptr || param2 == nullptr) {
        return -1;
    }
    return printLine(key, {param0, param1, param2});
}

// The whole line is consumed, however long, so that the rest of an overlong answer is
// never taken as the answer to the next question.
char getAnswer() {
    flushOutput();
    const int first = std::getchar();
    if (first == EOF) {
        return 'n';
    }
    int c = first;
    while (c != '\n' && c != EOF) {
        c = std::getchar();
    }
    return static_cast<char>(first);
}

char askYesNo(const std::string& prompt) {
    if (silent != 0) {
        return 'y';
    }
    char answer = '\0';
    while (answer != 'y' && answer != 'n') {
        printText(prompt);
        answer = getAnswer();
    }
    return answer;
}

namespace {

struct PromptState {
    bool isRunned = false;
    int ret = 0;
};

PromptState warningState;
PromptState warning2State;
PromptState serviceWarningState;

constexpr const char* kNoChanges = "No changes. This host uses a local configuration directory.";

// Asks once per run; a 'n' prints the "No changes" line.
int runPrompt(PromptState& state, const std::string& prompt) {
    if (state.isRunned) {
        return state.ret;
    }
    state.isRunned = true;
    if (askYesNo(prompt) == 'n') {
        alertI18n(kNoChanges);
        state.ret = 0;
    } else {
        state.ret = 1;
    }
    return state.ret;
}

}  // namespace

int showWarning() {
    return runPrompt(warningState,
                     "This host will use configuration files on a shared directory.  Do you "
                     "want to continue? [y/n]");
}

int showWarning2(const std::string& sharedTop) {
    const std::string prompt = formatMessage(
        "This host will use configuration files on a shared directory. Make sure that %s is a "
        "shared directory. Do you want to continue? [y/n]",
        {sharedTop});
    const bool firstTime = !warning2State.isRunned;
    const int ret = runPrompt(warning2State, prompt);
    if (firstTime && ret == 1) {
        // A yes to the named question also answers the unnamed one for this run.
        const int savedSilent = silent;
        silent = 1;
        showWarning();
        silent = savedSilent;
    }
    return ret;
}

int showServiceWarning() {
    return runPrompt(serviceWarningState,
                     "Warning: stop all cluster services managed by ORV before you run "
                     "orvconfig. Do you want to continue? [y/n]");
}

void showFormatWarning(const std::string& filename, int linenumber) {
    alertI18nWithTwoParameters("Warning: The format of file %s is error in line %s. ", filename,
                               std::to_string(linenumber));
}

}  // namespace orv
