#pragma once

#include "basekit/api.h"

#include <fstream>
#include <memory>
#include <string>

namespace panedeck {

/// Writes a table of texts: items in double quotes, separated without blanks, lines ended by one line feed,
/// UTF-8 as it stands. Line breaks and other control characters inside an item are left out and a tab is four
/// blanks, so that an item never spans lines. For one thread.
class PANEDECK_API CSVWriter {
public:
    /// Opens the file, emptying it; see `hasValidFileStream`.
    CSVWriter(const std::string& filePath, char separator);

    /// False if the file could not be opened or written.
    bool hasValidFileStream() const { return !m_fileStream.fail() && !m_fileStream.bad(); }

    /// Hands all that was written to the system; false if the file is not whole.
    bool flush();

    void writeHeaderBegin();
    void writeHeader(const std::string& text);
    void writeHeaderEnd();
    void writeRowBegin();
    void writeItem(const std::string& text);
    void writeRowEnd();

private:
    void checkStream();

    std::ofstream m_fileStream;
    char m_separator;
    bool m_atLineStart = false;
    std::string m_item; ///< reused from item to item
};

/// Never null; an unopened stream shows in `hasValidFileStream`.
PANEDECK_API std::shared_ptr<CSVWriter> createCSVWriter(const std::string& filePath, char separator);

} // namespace panedeck
