#include "text_table.h"

#include "portkit/terminal_text.h"

#include <algorithm>

namespace panedeck::cli {

namespace {

bool begins_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
}

std::size_t character_count(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins_character));
}

std::string cut(std::string text, std::size_t widest) {
    if (character_count(text) <= widest) return text;
    std::size_t end = 0;
    for (std::size_t kept = 0; end < text.size(); ++end) {
        if (begins_character(text[end]) && kept++ == widest - 1) break;
    }
    return text.substr(0, end) + "…";
}

std::string padded(const std::string& text, std::size_t width, bool to_the_left) {
    const std::string blanks(width - character_count(text), ' ');
    return to_the_left ? text + blanks : blanks + text;
}

} // namespace

TextTable::TextTable(std::vector<std::string> headings, std::size_t widest)
    : m_columns(headings.size()), m_widest(widest) {
    m_rows.push_back(fitted(std::move(headings)));
}

void TextTable::add_row(std::vector<std::string> cells) {
    m_rows.push_back(fitted(std::move(cells)));
}

std::vector<std::string> TextTable::fitted(std::vector<std::string> cells) const {
    cells.resize(m_columns);
    for (std::string& cell : cells) {
        cell = cut(portkit2::terminal_text(cell), m_widest);
    }
    return cells;
}

std::string TextTable::text() const {
    std::vector<std::size_t> widths(m_columns, 0);
    for (const auto& row : m_rows) {
        for (std::size_t column = 0; column < m_columns; ++column) {
            widths[column] = std::max(widths[column], character_count(row[column]));
        }
    }
    std::string result;
    for (const auto& row : m_rows) {
        std::string line;
        for (std::size_t column = 0; column < m_columns; ++column) {
            line += (column ? "  " : "") + padded(row[column], widths[column], column == 0);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + "\n";
        if (&row != &m_rows.front()) continue;
        for (std::size_t column = 0; column < m_columns; ++column) {
            result += (column ? "  " : "") + std::string(widths[column], '-');
        }
        result += "\n";
    }
    return result;
}

} // namespace panedeck::cli
