#pragma once

#include "basekit/api.h"

#include <fstream>
#include <memory>
#include <string>

namespace panedeck {

/// Writes a table of texts: items in double quotes, separated without blanks, lines ended by one line feed,
/// UTF-8 as it stands. Line breaks and other control characters inside an item are left out and a tab is four
/// blanks, so that an item never spans lines. What could not be written is logged once for a file, with the
/// reason; writing goes on without effect. For one thread.
class PANEDECK_API CSVWriter {
public:
    /// Opens the file, emptying it; see `hasValidFileStream`.
    CSVWriter(const std::string& filePath, char separator);
    /// Writes what is still in memory, and closes the file.
    ~CSVWriter();
    CSVWriter(const CSVWriter&) = delete;
    CSVWriter& operator=(const CSVWriter&) = delete;

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
    void write(const std::string& text);
    void checkStream();

    std::ofstream m_fileStream;
    char m_separator;
    bool m_atLineStart = false;
    std::string m_filePath;
    std::string m_item; ///< reused from item to item
    bool m_failureTold = false;
};

/// Never null; an unopened stream shows in `hasValidFileStream`.
PANEDECK_API std::shared_ptr<CSVWriter> createCSVWriter(const std::string& filePath, char separator);

} // namespace panedeck
