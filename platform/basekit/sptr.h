#pragma once

#include <cstddef>
#include <functional>
#include <utility>

namespace bk2 {

/// The intrusive reference-counted pointer: one machine word, calls `add_ref` and `release` of its object.
template <class T>
class sptr_t {
public:
    sptr_t() = default;
    sptr_t(std::nullptr_t) {}
    sptr_t(T* object) : m_object(object) { hold(); }
    sptr_t(const sptr_t& other) : m_object(other.m_object) { hold(); }
    sptr_t(sptr_t&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U>
    sptr_t(const sptr_t<U>& other) : m_object(other.get()) {
        hold();
    }
    ~sptr_t() { drop(); }

    sptr_t& operator=(sptr_t other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    bool is_null() const { return m_object == nullptr; }
    void reset() { sptr_t().swap(*this); }
    void swap(sptr_t& other) noexcept { std::swap(m_object, other.m_object); }

    friend bool operator==(const sptr_t& a, const sptr_t& b) { return a.m_object == b.m_object; }
    friend bool operator==(const sptr_t& a, std::nullptr_t) { return a.m_object == nullptr; }

private:
    void hold() const {
        if (m_object) m_object->add_ref();
    }
    void drop() const {
        if (m_object) m_object->release();
    }

    T* m_object = nullptr;
};

/// The same object seen through another of its interfaces, or null if it has none of that kind.
template <class To, class From>
sptr_t<To> interface_cast(const sptr_t<From>& object) {
    return sptr_t<To>(dynamic_cast<To*>(object.get()));
}

/// Makes an object of T and hands out its first reference.
template <class T, class... Args>
sptr_t<T> make_sptr(Args&&... args) {
    return sptr_t<T>(new T(std::forward<Args>(args)...));
}

} // namespace bk2

template <class T>
struct std::hash<bk2::sptr_t<T>> {
    std::size_t operator()(const bk2::sptr_t<T>& pointer) const { return std::hash<T*>()(pointer.get()); }
};
