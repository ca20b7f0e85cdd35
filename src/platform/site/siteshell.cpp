#include "platform/site/siteshell.h"

#include "ini/inifile.h"
#include "platform/site/sitedirectory.h"

#include <algorithm>
#include <cstdio>

namespace fs = std::filesystem;

namespace OCL::Site {
namespace {

bool Blank(char c) {
    return c == ' ' || c == '\t';
}

// The next blank-separated word of text from *pos; a word in double quotes may
// hold blanks.
std::string Word(const std::string& text, std::size_t* pos) {
    std::size_t i = *pos;
    while (i < text.size() && Blank(text[i]))
        ++i;
    std::string word;
    if (i < text.size() && text[i] == '"') {
        const std::size_t close = text.find('"', i + 1);
        const std::size_t end = close == std::string::npos ? text.size() : close;
        word = text.substr(i + 1, end - i - 1);
        i = close == std::string::npos ? end : close + 1;
    } else {
        const std::size_t start = i;
        while (i < text.size() && !Blank(text[i]))
            ++i;
        word = text.substr(start, i - start);
    }
    *pos = i;
    return word;
}

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\t' || c == '\r' || c == '\n'; }, ' ');
    return text;
}

} // namespace

CSiteShell::CSiteShell(std::shared_ptr<const SiteDirectory> site, std::shared_ptr<IClock> clock,
                       Opener opener)
    : m_site(std::move(site)), m_clock(std::move(clock)), m_opener(std::move(opener)) {}

DWORD CSiteShell::Append(const char* file, const std::string& line) {
    const fs::path spool = m_site->Root() / "spool";
    std::error_code ec;
    // The spool belongs to a site; a missing site folder is not made here.
    if (!fs::is_directory(m_site->Root(), ec))
        return Err::WriteFault;
    fs::create_directories(spool, ec);
    // One write of a whole line in append mode, so lines of several writers never mix.
    std::FILE* out = std::fopen((spool / file).string().c_str(), "ab");
    if (!out)
        return Err::WriteFault;
    const std::string text = line + "\r\n";
    std::setvbuf(out, nullptr, _IOFBF, text.size());
    const bool ok = std::fwrite(text.data(), 1, text.size(), out) == text.size();
    return (std::fclose(out) == 0 && ok) ? Err::Success : Err::WriteFault;
}

DWORD CSiteShell::Exec(const std::string& commandLine, int) {
    std::size_t pos = 0;
    if (!Ini::NamesEqual(Word(commandLine, &pos), "NET") || !Ini::NamesEqual(Word(commandLine, &pos), "SEND"))
        return Err::FileNotFound;
    const std::string user = Word(commandLine, &pos);
    // Without a recipient the command only explains itself; nothing is sent.
    if (user.empty())
        return Err::Success;
    while (pos < commandLine.size() && Blank(commandLine[pos]))
        ++pos;
    const std::string text = commandLine.substr(pos);
    return Append("messages.log", std::to_string(m_clock->Now()) + '\t' + OneLine(m_site->LocalComputer()) +
                                      '\t' + OneLine(user) + '\t' + OneLine(text));
}

DWORD CSiteShell::Open(const std::string& verb, const std::string& target) {
    const DWORD logged =
        Append("shell.log", std::to_string(m_clock->Now()) + '\t' + OneLine(verb) + '\t' + OneLine(target));
    if (m_opener) {
        m_opener(target);
        return Err::Success;
    }
    return logged;
}

} // namespace OCL::Site
