#include "Other/CCSVTable.h"

#include "Core/CFile.h"
#include "Core/CTextReaderLine.h"

namespace lum {

namespace {

constexpr int64_t kLargestFile = 8 * 1024 * 1024;  // bytes
constexpr size_t kLargestTable = 16 * 1024 * 1024; // bytes; a cell of one comma takes dozens

/// Where the walk through a line stands with double quotes.
struct CQuoteState {
    bool isQuoted = false;
    bool isAfterQuote = false; // the last character closed a quote

    /// Takes a quote; true when it stands for itself.
    bool takeQuote() {
        if (isQuoted) {
            isQuoted = false;
            isAfterQuote = true;
            return false;
        }
        isQuoted = true;
        return std::exchange(isAfterQuote, false);
    }
};

/// The bytes of a file, counted as they come: the standard input may tell no size, and a file may
/// grow.
class CTableSource : public CInputStream {
public:
    explicit CTableSource(CFileReader& tableFile) : file(tableFile) {}
    CErrorResult read(void* buffer, int64_t count) override {
        LUM_TRY(file.read(buffer, count));
        return takeIn(count);
    }
    CErrorResult readStreamed(void* buffer, int64_t& count) override {
        LUM_TRY(file.readStreamed(buffer, count));
        return takeIn(count);
    }

private:
    CErrorResult takeIn(int64_t count) {
        total += count;
        if (total > kLargestFile)
            return LUM_FAIL("@lumstr_CCSVTable_load_FileTooLarge "
                            "File '%1' too large for a table (more than %2 bytes).",
                            file.getFileName(), kLargestFile);
        return {};
    }

    CFileReader& file;
    int64_t total = 0;
};

} // namespace

CErrorResult CCSVTable::load(const CString& path) {
    rows = {};
    tableBytes = 0;
    if (CErrorResult failure = loadRows(path)) {
        rows = {};
        return addError(std::move(failure), __FILE__, __LINE__, traceName());
    }
    return {};
}

CErrorResult CCSVTable::loadRows(const CString& path) {
    CFileReader file;
    LUM_TRY(file.open(path));
    CTableSource source(file);
    CTextReaderLine reader(source);
    CString line;
    for (;;) {
        char16_t terminator = kStreamEnd;
        LUM_TRY(reader.readLine(line, terminator));
        if (terminator == kStreamEnd) return {};
        if (!addLine(line))
            return LUM_FAIL("@lumstr_CCSVTable_load_TooManyCells "
                            "File '%1' holds too many table cells.",
                            file.getFileName());
    }
}

/// False when the table is full.
bool CCSVTable::addLine(const CString& line) {
    CString cell;
    CRow* row = nullptr;
    CQuoteState quotes;
    for (size_t i = 0; i < line.length(); i++) {
        const char16_t character = line.at(i);
        if (character == '"') {
            if (quotes.takeQuote()) cell.append(u'"');
            continue;
        }
        quotes.isAfterQuote = false;
        if (!quotes.isQuoted && character == '#') break;
        if (!quotes.isQuoted && (character == ',' || character == ';')) {
            if (!addCell(row, cell)) return false;
            cell.clear();
        } else {
            cell.append(character);
        }
    }
    if (!row && cell.trimmed().empty()) return true;
    return addCell(row, cell);
}

/// row: null for a line's first cell, which makes the row.
bool CCSVTable::addCell(CRow*& row, const CString& cell) {
    tableBytes += row ? sizeof(CString) : sizeof(CRow);
    if (tableBytes > kLargestTable) return false;
    if (!row) row = &rows.emplace_back();
    row->push_back(cell.trimmed());
    return true;
}

CString CCSVTable::getCell(int row, int column, const CString& defaultText) const {
    if (row < 0 || row >= rows.ssize()) return defaultText;
    const CRow& cells = rows[row];
    return column >= 0 && column < cells.ssize() ? cells[column] : defaultText;
}

} // namespace lum
