#include "Core/CError.h"

#include "Core/CLog.h"

namespace lum {

namespace {

/// The template behind an id "@lumstr_..." in front of it. A message that is only an id has none.
CString withoutId(const CString& message) {
    if (message.at(0) != '@') return message;
    const int blank = message.find(u' ');
    return blank < 0 ? CString() : message.substring(static_cast<size_t>(blank) + 1);
}

CString traceLine(const char* sourceFile, int line, const CString& fullName) {
    CString trace(sourceFile);
    trace += "( ";
    trace += CString::fromInt(line);
    trace += " )";
    if (fullName.empty()) return trace;
    trace += " // ";
    return trace += fullName;
}

} // namespace

CErrorResult addError(CErrorResult error, const char* sourceFile, int line, const CString& fullName,
                      const CString& message, const CVector<CString>& arguments) {
    CErrorRecord* record = error.release();
    if (!record) record = new CErrorRecord;
    if (!message.empty()) {
        record->lines.push_back(formatMessage(withoutId(message), arguments));
    } else if (record->lines.empty()) {
        record->lines.emplace_back();
    }
    record->lines.push_back(traceLine(sourceFile, line, fullName));
    return CErrorResult(record);
}

void printError(const CErrorResult& error) {
    if (!error) return;
    for (const CString& line : error.get()->lines) logLine(line);
}

void logAndDropError(CErrorResult error) {
    printError(error);
}

} // namespace lum
