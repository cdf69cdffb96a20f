#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

namespace pastille::format {

/// What is wrong with a structure: which one, which field, the value found and where it lies. `offset` counts
/// bytes from the start of the file where the place is known there, else from the start of the structure.
struct Fault {
    const char* structure;  ///< as the format names it, "BTPAGE"
    const char* field;      ///< as the format names it, "cEnt"
    std::uint64_t value = 0;
    std::uint64_t offset = 0;
};

/// "BTPAGE cEnt 0x28 at 0x9200", for logs and errors.
std::string Describe(const Fault& fault);

/// A value or the fault that kept it from being read.
template <class T>
class Result {
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}  // NOLINT: a value is a result
    Result(Fault fault) : m_state(std::in_place_index<1>, fault) {}         // NOLINT: a fault is a result

    explicit operator bool() const { return m_state.index() == 0; }
    /// REQUIRES: the result is a value.
    const T& operator*() const& { return *std::get_if<0>(&m_state); }
    T& operator*() & { return *std::get_if<0>(&m_state); }
    T&& operator*() && { return std::move(*std::get_if<0>(&m_state)); }
    const T* operator->() const { return std::get_if<0>(&m_state); }
    T* operator->() { return std::get_if<0>(&m_state); }
    /// REQUIRES: the result is no value.
    const Fault& GetFault() const { return *std::get_if<1>(&m_state); }

private:
    std::variant<T, Fault> m_state;
};

}  // namespace pastille::format
