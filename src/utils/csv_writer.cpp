#include "utils/csv_writer.h"

#include "basekit/assertion.h"

#include <cerrno>
#include <system_error>

namespace panedeck {

namespace {

bool isControl(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20 || code == 0x7f;
}

void appendTranscoded(const std::string& text, std::string& out) {
    for (const char byte : text) {
        if (byte == '"')
            out += "\"\"";
        else if (byte == '\t')
            out += "    ";
        else if (!isControl(byte))
            out += byte;
    }
}

} // namespace

CSVWriter::CSVWriter(const std::string& filePath, char separator)
    : m_fileStream(filePath, std::ios::out | std::ios::trunc | std::ios::binary), m_separator(separator),
      m_filePath(filePath) {}

CSVWriter::~CSVWriter() {
    if (!m_fileStream.is_open()) return;
    m_fileStream.close();
    checkStream();
}

void CSVWriter::write(const std::string& text) {
    m_fileStream.write(text.data(), static_cast<std::streamsize>(text.size()));
    checkStream();
}

/// Directly behind what may have failed, or the reason is another's.
void CSVWriter::checkStream() {
    if (!m_fileStream.fail() || m_failureTold) return;
    m_failureTold = true;
    const std::string told =
        "!m_fileStream.fail(): " + m_filePath + ": " + std::generic_category().message(errno);
    bk2::report_assertion(PANEDECK_ASSERTION_SITE(told.c_str()));
}

bool CSVWriter::flush() {
    m_fileStream.flush();
    return hasValidFileStream();
}

void CSVWriter::writeHeaderBegin() {
    checkStream();
    m_atLineStart = true;
}

void CSVWriter::writeHeader(const std::string& text) {
    writeItem(text);
}

void CSVWriter::writeHeaderEnd() {
    writeRowEnd();
}

void CSVWriter::writeRowBegin() {
    checkStream();
    m_atLineStart = true;
}

void CSVWriter::writeItem(const std::string& text) {
    m_item.clear();
    if (!m_atLineStart) m_item += m_separator;
    m_atLineStart = false;
    m_item += '"';
    appendTranscoded(text, m_item);
    m_item += '"';
    write(m_item);
}

void CSVWriter::writeRowEnd() {
    write("\n");
}

std::shared_ptr<CSVWriter> createCSVWriter(const std::string& filePath, char separator) {
    return std::make_shared<CSVWriter>(filePath, separator);
}

} // namespace panedeck
