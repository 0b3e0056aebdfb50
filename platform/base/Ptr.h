#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace Platform {

template <class T>
class Ptr;

// Base of every shared object. The count is not atomic: an agent runs on one thread.
class RefCounted {
  public:
    RefCounted() = default;
    RefCounted(const RefCounted&) {}  // a copy is an object of its own, held by nobody yet
    RefCounted& operator=(const RefCounted&) { return *this; }

  protected:
    ~RefCounted() = default;

  private:
    template <class T>
    friend class Ptr;
    mutable std::uint32_t references_ = 0;
};

// Shared ownership of a RefCounted object. The object dies with its last Ptr.
template <class T>
class Ptr {
  public:
    Ptr() = default;
    Ptr(std::nullptr_t) {}
    explicit Ptr(T* object) : object_(object) { hold(); }
    Ptr(const Ptr& other) : object_(other.object_) { hold(); }
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(const Ptr<U>& other) : object_(other.get()) {
        hold();
    }
    ~Ptr() { release(); }

    Ptr& operator=(Ptr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    template <class U>
    bool operator==(const Ptr<U>& other) const {
        return object_ == other.get();
    }
    bool operator==(std::nullptr_t) const { return object_ == nullptr; }

  private:
    void hold() const {
        if (object_ != nullptr) {
            ++object_->references_;
        }
    }
    void release() {
        static_assert(std::is_final_v<T> || std::has_virtual_destructor_v<T>,
                      "a shared object is deleted through its own type or a virtual destructor");
        if (object_ != nullptr && --object_->references_ == 0) {
            delete object_;
        }
    }

    T* object_ = nullptr;
};

// Makes a shared object. Throws std::range_error "null ValidPtr" when there is no memory for it.
template <class T, class... Args>
Ptr<T> makePtr(Args&&... args) {
    T* object = new (std::nothrow) T(std::forward<Args>(args)...);
    if (object == nullptr) {
        throw std::range_error("null ValidPtr");
    }
    return Ptr<T>(object);
}

// The object as a U, or null when it is of another type.
template <class U, class T>
Ptr<U> ptrCast(const Ptr<T>& object) {
    return Ptr<U>(dynamic_cast<U*>(object.get()));
}

}  // namespace Platform
