// The sample program: multiplies, transposes and factorises matrices in several ways, so that its
// profile has something to show: one hot loop, the same work done well and badly, recursion, and a
// long chain of calls with nothing in it.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#define KEEP_FRAME __attribute__((noinline))

class Matrix {
public:
    explicit Matrix(std::size_t size) : m_size(size), m_cells(size * size) {}

    std::size_t size() const { return m_size; }
    double& at(std::size_t row, std::size_t column) { return m_cells[row * m_size + column]; }
    const double& at(std::size_t row, std::size_t column) const { return m_cells[row * m_size + column]; }
    std::vector<double>& cells() { return m_cells; }

private:
    std::size_t m_size;
    std::vector<double> m_cells;
};

KEEP_FRAME Matrix random_matrix(std::size_t size, unsigned seed) {
    Matrix result(size);
    std::mt19937_64 generator(seed);
    std::uniform_real_distribution<double> cell(-1, 1);
    for (double& value : result.cells())
        value = cell(generator);
    return result;
}

// Walks the second matrix by columns: every step is a new cache line.
KEEP_FRAME Matrix multiply_by_columns(const Matrix& a, const Matrix& b) {
    Matrix result(a.size());
    for (std::size_t row = 0; row < a.size(); ++row)
        for (std::size_t column = 0; column < a.size(); ++column) {
            double sum = 0;
            for (std::size_t k = 0; k < a.size(); ++k)
                sum += a.at(row, k) * b.at(k, column);
            result.at(row, column) = sum;
        }
    return result;
}

KEEP_FRAME void add_scaled_row(double* target, const double* row, double factor, std::size_t size) {
    for (std::size_t column = 0; column < size; ++column)
        target[column] += factor * row[column];
}

// The same product by rows: the inner loop runs along memory.
KEEP_FRAME Matrix multiply_by_rows(const Matrix& a, const Matrix& b) {
    Matrix result(a.size());
    for (std::size_t row = 0; row < a.size(); ++row)
        for (std::size_t k = 0; k < a.size(); ++k)
            add_scaled_row(&result.at(row, 0), &b.at(k, 0), a.at(row, k), a.size());
    return result;
}

KEEP_FRAME void transpose_block(Matrix& matrix, std::size_t row, std::size_t column, std::size_t size) {
    if (size <= 8) {
        for (std::size_t i = row; i < row + size; ++i)
            for (std::size_t j = column; j < column + size; ++j)
                if (i < j) std::swap(matrix.at(i, j), matrix.at(j, i));
        return;
    }
    const std::size_t half = size / 2;
    transpose_block(matrix, row, column, half);
    transpose_block(matrix, row, column + half, half);
    transpose_block(matrix, row + half, column, half);
    transpose_block(matrix, row + half, column + half, half);
}

// The logarithm of the determinant's size, by elimination; the determinant itself would overflow.
KEEP_FRAME double log_determinant(Matrix matrix) {
    double result = 0;
    for (std::size_t pivot = 0; pivot < matrix.size(); ++pivot) {
        result += std::log(std::fabs(matrix.at(pivot, pivot)));
        for (std::size_t row = pivot + 1; row < matrix.size(); ++row) {
            const double factor = -matrix.at(row, pivot) / matrix.at(pivot, pivot);
            add_scaled_row(&matrix.at(row, 0), &matrix.at(pivot, 0), factor, matrix.size());
        }
    }
    return result;
}

KEEP_FRAME double checksum(const Matrix& matrix) {
    double sum = 0;
    for (std::size_t row = 0; row < matrix.size(); ++row)
        for (std::size_t column = 0; column < matrix.size(); ++column)
            sum += std::sin(matrix.at(row, column));
    return sum;
}

KEEP_FRAME std::string describe(const Matrix& matrix) {
    std::string text;
    for (std::size_t row = 0; row < matrix.size(); ++row)
        for (std::size_t column = 0; column < matrix.size(); column += 4)
            text += std::to_string(matrix.at(row, column)) + ' ';
    return text;
}

// A chain of calls that only hand on: frames worth folding into one row.
KEEP_FRAME double run_round(std::size_t size, unsigned seed) {
    const Matrix a = random_matrix(size, seed);
    const Matrix b = random_matrix(size, seed + 1);
    Matrix slow = multiply_by_columns(a, b);
    Matrix fast = multiply_by_rows(a, b);
    transpose_block(slow, 0, 0, size);
    transpose_block(fast, 0, 0, size);
    return checksum(slow) - checksum(fast) + log_determinant(a) + static_cast<double>(describe(b).size());
}

KEEP_FRAME double run_batch(std::size_t size, unsigned rounds) {
    double sum = 0;
    for (unsigned round = 0; round < rounds; ++round)
        sum += run_round(size, round);
    return sum;
}

KEEP_FRAME double run_experiment(unsigned rounds) {
    return run_batch(512, rounds) + run_batch(256, rounds * 4);
}

int main(int argc, char** argv) {
    const unsigned rounds = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 10;
    std::printf("%.6f\n", run_experiment(rounds));
    return 0;
}
