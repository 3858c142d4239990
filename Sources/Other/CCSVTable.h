#pragma once

#include "Core/CError.h"

namespace lum {

/// A table of texts out of a file: cells parted by "," or ";", rows by line feeds, "#" starts a
/// comment, double quotes keep these characters and a doubled quote inside them is a quote. Rows
/// and cells keep the file's order; rows may differ in length. One user at a time.
class CCSVTable {
public:
    /// Replaces the table by a file's content. What follows the last line feed is dropped. A file
    /// of more than 8 MiB or more cells than 16 MiB hold is refused. On failure the table is empty.
    CErrorResult load(const CString& path);
    int getRowCount() const { return rows.ssize(); }
    /// Text of a cell, `defaultText` where there is no such row or column.
    CString getCell(int row, int column, const CString& defaultText = {}) const;

private:
    using CRow = CVector<CString>;
    CErrorResult loadRows(const CString& path);
    bool addLine(const CString& line);
    bool addCell(CRow*& row, const CString& cell);

    CVector<CRow> rows;
    size_t tableBytes = 0; // of rows and cells, without long texts
};

} // namespace lum
