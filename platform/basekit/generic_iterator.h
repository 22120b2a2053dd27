#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace bk2 {

/// A forward iterator over values of T that hides what it runs over. Held by `std::unique_ptr`; a null
/// pointer means that the source could not be read, not that it is empty.
template <class T>
class generic_iterator_t {
public:
    virtual ~generic_iterator_t() = default;

    virtual bool at_end() const = 0;
    /// Only while `at_end()` is false.
    virtual T current() const = 0;
    virtual void next() = 0;
    /// An independent iterator at the same place.
    virtual std::unique_ptr<generic_iterator_t> clone() const = 0;
};

template <class T>
using iterator_ptr_t = std::unique_ptr<generic_iterator_t<T>>;

/// Runs over a vector that it owns.
template <class T>
class vector_iterator_t : public generic_iterator_t<T> {
public:
    explicit vector_iterator_t(std::vector<T> values) : m_values(std::move(values)) {}

    bool at_end() const override { return m_position >= m_values.size(); }
    T current() const override { return m_values[m_position]; }
    void next() override { ++m_position; }
    iterator_ptr_t<T> clone() const override { return std::make_unique<vector_iterator_t>(*this); }

private:
    std::vector<T> m_values;
    std::size_t m_position = 0;
};

template <class T>
iterator_ptr_t<T> make_vector_iterator(std::vector<T> values) {
    return std::make_unique<vector_iterator_t<T>>(std::move(values));
}

} // namespace bk2
