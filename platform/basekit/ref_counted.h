#pragma once

#include <atomic>
#include <cstdint>

namespace bk2 {

/// Reference count for objects that several threads hold.
class mt_ref_count_impl_t {
public:
    void increment() const { m_count.fetch_add(1, std::memory_order_relaxed); }
    /// True when the last reference has gone.
    bool decrement() const { return m_count.fetch_sub(1, std::memory_order_acq_rel) == 1; }

private:
    mutable std::atomic<std::uint32_t> m_count{0};
};

/// Implements the reference counting of `object_interface_t` for `Self`, a class with the interface
/// `Interface`: `class Query : public ref_counted_t<Query, mt_ref_count_impl_t, IQuery>`.
template <class Self, class Counter, class Interface>
class ref_counted_t : public Interface {
public:
    using Interface::Interface;

    ref_counted_t(const ref_counted_t&) = delete;
    ref_counted_t& operator=(const ref_counted_t&) = delete;

    void add_ref() const override { m_references.increment(); }
    void release() const override {
        if (m_references.decrement()) delete static_cast<const Self*>(this);
    }

protected:
    ref_counted_t() = default;
    ~ref_counted_t() override = default;

private:
    Counter m_references;
};

} // namespace bk2
