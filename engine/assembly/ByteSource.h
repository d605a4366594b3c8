// Bounds-checked little-endian cursor over untrusted bytes. Every read either
// succeeds completely or fails and leaves the cursor failed for good, so a
// parser can read a whole record and test once. Internal to engine/assembly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kvengine {

class ByteSource {
public:
    ByteSource(const char* data, size_t size) : data_(data), size_(size) {}

    bool ok() const { return ok_; }
    size_t remaining() const { return ok_ ? size_ - offset_ : 0; }
    // Bytes read so far; after a failure, where the failing read began.
    size_t offset() const { return offset_; }

    uint8_t u8() {
        if (!take(1))
            return 0;
        return static_cast<uint8_t>(data_[offset_ - 1]);
    }
    uint32_t u32() {
        if (!take(4))
            return 0;
        const auto* p = reinterpret_cast<const unsigned char*>(data_ + offset_ - 4);
        return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
    }
    int32_t i32() { return static_cast<int32_t>(u32()); }

    // The next `length` bytes as text.
    bool text(std::string& out, uint32_t length) {
        if (!ok_ || length > size_ - offset_)
            return fail();
        out.assign(data_ + offset_, length);
        offset_ += length;
        return true;
    }

    // True when `count` records of at least `minBytes` each can still fit.
    bool canHold(uint32_t count, size_t minBytes) const { return ok_ && count <= remaining() / minBytes; }

    bool fail() {
        ok_ = false;
        return false;
    }

private:
    bool take(size_t n) {
        if (!ok_ || n > size_ - offset_)
            return fail();
        offset_ += n;
        return true;
    }

    const char* data_;
    size_t size_;
    size_t offset_ = 0;
    bool ok_ = true;
};

} // namespace kvengine
