/// \file
/// CYxByteArray: the framework's byte array, the value type of BLOB columns.
/// A plain value over std::vector<uint8_t>; thread safety as for any value.
#pragma once

#include "gnr_projectdb/export.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class GNR_API CYxByteArray {
public:
    CYxByteArray() = default;
    CYxByteArray(const void* data, std::size_t size) { SetData(data, size); }
    explicit CYxByteArray(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}

    void SetData(const void* data, std::size_t size) {
        const auto* p = static_cast<const std::uint8_t*>(data);
        if (p && size) m_bytes.assign(p, p + size); else m_bytes.clear();
    }
    void Append(const void* data, std::size_t size) {
        const auto* p = static_cast<const std::uint8_t*>(data);
        if (p && size) m_bytes.insert(m_bytes.end(), p, p + size);
    }
    const std::uint8_t* GetData() const { return m_bytes.data(); }
    std::uint8_t* GetData() { return m_bytes.data(); }
    std::size_t GetSize() const { return m_bytes.size(); }
    bool IsEmpty() const { return m_bytes.empty(); }
    void Clear() { m_bytes.clear(); }
    void Resize(std::size_t n) { m_bytes.resize(n); }
    const std::vector<std::uint8_t>& bytes() const { return m_bytes; }

    friend bool operator==(const CYxByteArray& a, const CYxByteArray& b) { return a.m_bytes == b.m_bytes; }
    friend bool operator!=(const CYxByteArray& a, const CYxByteArray& b) { return !(a == b); }

private:
    std::vector<std::uint8_t> m_bytes;
};
