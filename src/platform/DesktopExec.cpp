#include "platform/DesktopExec.h"

namespace tpc::platform {

namespace {

std::string escapeString(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else if (c == '\r')
            out += "\\r";
        else
            out += c;
    }
    return out;
}

std::string literalPercents(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        out += text[i];
        if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%')
            ++i;
    }
    return out;
}

} // namespace

std::string unescapeString(const std::string& value) {
    std::string out;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        switch (char c = value[++i]) {
        case 's':
            out += ' ';
            break;
        case 'n':
            out += '\n';
            break;
        case 't':
            out += '\t';
            break;
        case 'r':
            out += '\r';
            break;
        case '\\':
            out += '\\';
            break;
        default:
            out += '\\';
            out += c;
        }
    }
    return out;
}

std::string execProgram(const std::string& value) {
    auto command = unescapeString(value);
    auto i = command.find_first_not_of(" \t");
    if (i == std::string::npos)
        return {};
    std::string program;
    if (command[i] != '"') {
        auto end = command.find_first_of(" \t\n", i);
        program = command.substr(i, end == std::string::npos ? end : end - i);
    } else {
        for (++i; i < command.size() && command[i] != '"'; ++i) {
            if (command[i] == '\\' && i + 1 < command.size() &&
                std::string("\"`$\\").find(command[i + 1]) != std::string::npos)
                ++i;
            program += command[i];
        }
    }
    return literalPercents(program);
}

std::string execValue(const std::string& program) {
    const std::string reserved = " \t\n\"'\\><~|&;$*?#()`";
    bool quote = program.find_first_of(reserved) != std::string::npos;
    std::string command = quote ? "\"" : "";
    for (char c : program) {
        if (quote && std::string("\"`$\\").find(c) != std::string::npos)
            command += '\\';
        command += c;
        if (c == '%')
            command += '%';
    }
    if (quote)
        command += '"';
    return escapeString(command);
}

} // namespace tpc::platform
