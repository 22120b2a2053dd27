#include "utils/csv_writer.h"

#include "basekit/assertion.h"

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
    : m_fileStream(filePath, std::ios::out | std::ios::trunc | std::ios::binary), m_separator(separator) {}

void CSVWriter::checkStream() {
    PANEDECK_EXPECT(!m_fileStream.fail(), "!m_fileStream.fail()");
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
    checkStream();
    m_item.clear();
    if (!m_atLineStart) m_item += m_separator;
    m_atLineStart = false;
    m_item += '"';
    appendTranscoded(text, m_item);
    m_item += '"';
    m_fileStream.write(m_item.data(), static_cast<std::streamsize>(m_item.size()));
}

void CSVWriter::writeRowEnd() {
    checkStream();
    m_fileStream.put('\n');
}

std::shared_ptr<CSVWriter> createCSVWriter(const std::string& filePath, char separator) {
    return std::make_shared<CSVWriter>(filePath, separator);
}

} // namespace panedeck
