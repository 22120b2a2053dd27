// Writing about 20 MB of JSON, beside RapidJSON's writer driven directly with the same values into memory.
// The same run measures both; the ratios at the end are to stay below the limit.

#include "basekit/variant_bag.h"
#include "ratio_report.h"
#include "transport/json_serialization.h"

#include <benchmark/benchmark.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

constexpr unsigned row_count = 25'000;
constexpr unsigned cell_count = 12;

std::string function_name(unsigned row) {
    return "panedeck::sample::function_number_" + std::to_string(row % 5000);
}

double weight(unsigned row, unsigned cell) {
    return (row * 31 + cell * 17) % 100'000 / 8.0;
}

/// A grid's answer: per row its level, its function's name and cells with a raw value and a shown text.
void fill_rows(variant_bag_t& bag) {
    variant_bag_t& rows = bag.add_variant_bag("rows");
    rows.put<variant_t>("arrayOf", "row");
    for (unsigned row = 0; row < row_count; ++row) {
        variant_bag_t& stored = rows.add_variant_bag("row");
        stored.put<variant_t>("level", row % 40);
        stored.put<variant_t>("name", function_name(row));
        variant_bag_t& cells = stored.add_variant_bag("cells");
        for (unsigned cell = 0; cell < cell_count; ++cell) {
            variant_bag_t& stored_cell = cells.add_variant_bag("c" + std::to_string(cell));
            stored_cell.put<variant_t>("value", weight(row, cell));
            stored_cell.put<variant_t>("isLeaf", cell % 2 == 0);
            stored_cell.put<variant_t>("text", std::to_string(row * cell) + " ms");
        }
    }
}

/// The same values by hand. The texts are made ahead, so that only writing is measured.
struct prepared_texts_t {
    std::vector<std::string> names;
    std::vector<std::string> cell_texts;
    std::vector<std::string> cell_names;

    prepared_texts_t() {
        for (unsigned cell = 0; cell < cell_count; ++cell)
            cell_names.push_back("c" + std::to_string(cell));
        for (unsigned row = 0; row < row_count; ++row) {
            names.push_back(function_name(row));
            for (unsigned cell = 0; cell < cell_count; ++cell)
                cell_texts.push_back(std::to_string(row * cell) + " ms");
        }
    }
};

void write_text(rapidjson::Writer<rapidjson::StringBuffer>& writer, const std::string& text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void write_rows_directly(rapidjson::StringBuffer& buffer, const prepared_texts_t& texts) {
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("rows");
    writer.StartArray();
    for (unsigned row = 0; row < row_count; ++row) {
        writer.StartObject();
        writer.Key("level");
        writer.Uint(row % 40);
        writer.Key("name");
        write_text(writer, texts.names[row]);
        writer.Key("cells");
        writer.StartObject();
        for (unsigned cell = 0; cell < cell_count; ++cell) {
            write_text(writer, texts.cell_names[cell]);
            writer.StartObject();
            writer.Key("value");
            writer.Double(weight(row, cell));
            writer.Key("isLeaf");
            writer.Bool(cell % 2 == 0);
            writer.Key("text");
            write_text(writer, texts.cell_texts[row * cell_count + cell]);
            writer.EndObject();
        }
        writer.EndObject();
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
}

void count_bytes(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
    state.counters["MB"] = static_cast<double>(size) / 1e6;
}

void write_directly(benchmark::State& state) {
    const prepared_texts_t texts;
    std::size_t size = 0;
    for (auto _ : state) {
        rapidjson::StringBuffer buffer;
        write_rows_directly(buffer, texts);
        size = buffer.GetSize();
        benchmark::DoNotOptimize(buffer.GetString());
    }
    count_bytes(state, size);
}

void write_bag_into_text(benchmark::State& state) {
    variant_bag_t bag;
    fill_rows(bag);
    ustring8 text;
    for (auto _ : state) {
        ustring8().swap(text);
        (void)panedeck::save_variant_bag_to_json_string(bag, text, panedeck::JSONFormat::compact);
        benchmark::DoNotOptimize(text.data());
    }
    count_bytes(state, text.size());
}

void write_bag_to_stream(benchmark::State& state) {
    variant_bag_t bag;
    fill_rows(bag);
    std::size_t size = 0;
    for (auto _ : state) {
        std::ostringstream out;
        (void)panedeck::save_variant_bag_to_json_string(bag, out, panedeck::JSONFormat::compact);
        size = static_cast<std::size_t>(out.tellp());
    }
    count_bytes(state, size);
}

void read_bag(benchmark::State& state) {
    variant_bag_t bag;
    fill_rows(bag);
    ustring8 text;
    (void)panedeck::save_variant_bag_to_json_string(bag, text, panedeck::JSONFormat::compact);
    for (auto _ : state) {
        variant_bag_t read;
        (void)panedeck::load_variant_bag_from_json_string(text, read);
        benchmark::DoNotOptimize(read.is_empty());
    }
    count_bytes(state, text.size());
}

} // namespace

BENCHMARK(write_directly)->Unit(benchmark::kMillisecond);
BENCHMARK(write_bag_into_text)->Unit(benchmark::kMillisecond);
BENCHMARK(write_bag_to_stream)->Unit(benchmark::kMillisecond);
BENCHMARK(read_bag)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    panedeck::bench::initializeRepeated(argc, argv, 7);
    panedeck::bench::RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    report.check("write_bag_into_text", "write_directly", 1.8);
    report.check("write_bag_to_stream", "write_directly", 1.8);
    return report.allReached() ? 0 : 1;
}
