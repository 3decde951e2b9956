// Numbers as 8 bytes in the machine's order (both ends are this program),
// texts as their size and bytes.
#include "worker_wire.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace nidmask {

void WireWriter::Number(uint64_t value) { bytes_.append(reinterpret_cast<const char*>(&value), sizeof value); }

void WireWriter::Text(std::string_view text) {
    Number(text.size());
    bytes_.append(text);
}

void WireWriter::Totals(const SessionTotals& totals) {
    const RowCounts& c = totals.counts;
    for (const uint64_t value : {c.iRead, c.iMasked, c.iNull, c.iBlank, c.iEmpty, c.iInvalid, c.iRejected, c.iUnserved,
                                 uint64_t{c.bStoppedAtLimit}})
        Number(value);
    Number(totals.tallies.size());
    for (const MessageTally& tally : totals.tallies) {
        Number(tally.iMessage);
        Number(tally.iCount);
        Number(tally.iFirstRow);
        Text(tally.text);
    }
    Number(totals.rejectedRows.size());
    for (const uint64_t iRow : totals.rejectedRows) Number(iRow);
}

bool WireReader::Number(uint64_t* pValue) {
    if (bytes_.size() < sizeof *pValue) return false;
    std::memcpy(pValue, bytes_.data(), sizeof *pValue);
    bytes_.remove_prefix(sizeof *pValue);
    return true;
}

bool WireReader::Text(std::string* pText) {
    uint64_t iSize = 0;
    if (!Number(&iSize) || bytes_.size() < iSize) return false;
    pText->assign(bytes_.data(), iSize);
    bytes_.remove_prefix(iSize);
    return true;
}

bool WireReader::Totals(SessionTotals* pTotals) {
    RowCounts& c = pTotals->counts;
    uint64_t iStopped = 0;
    for (uint64_t* pValue : {&c.iRead, &c.iMasked, &c.iNull, &c.iBlank, &c.iEmpty, &c.iInvalid, &c.iRejected,
                             &c.iUnserved, &iStopped})
        if (!Number(pValue)) return false;
    c.bStoppedAtLimit = iStopped != 0;
    uint64_t n = 0;
    if (!Number(&n) || n > bytes_.size()) return false;
    pTotals->tallies.resize(n);
    for (MessageTally& tally : pTotals->tallies) {
        uint64_t iMessage = 0;
        if (!Number(&iMessage) || !Number(&tally.iCount) || !Number(&tally.iFirstRow) || !Text(&tally.text))
            return false;
        tally.iMessage = static_cast<uint32_t>(iMessage);
    }
    if (!Number(&n) || n > bytes_.size()) return false;
    pTotals->rejectedRows.resize(n);
    for (uint64_t& iRow : pTotals->rejectedRows)
        if (!Number(&iRow)) return false;
    return true;
}

bool ReadExactly(int fd, void* pData, size_t size) {
    auto* pAt = static_cast<char*>(pData);
    while (size > 0) {
        const ssize_t n = read(fd, pAt, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        pAt += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool WriteReply(int fd, ReplyKind kind, uint32_t iFlags, std::string_view output, std::string_view rest) {
    ReplyHeader header;
    header.kind = kind;
    header.iFlags = iFlags;
    header.iOutputSize = output.size();
    header.iRestSize = rest.size();
    constexpr int kParts = 3;
    iovec parts[kParts] = {{&header, sizeof header},
                           {const_cast<char*>(output.data()), output.size()},
                           {const_cast<char*>(rest.data()), rest.size()}};
    int iPart = 0;
    for (;;) {
        while (iPart < kParts && parts[iPart].iov_len == 0) ++iPart;
        if (iPart == kParts) return true;
        const ssize_t n = writev(fd, parts + iPart, kParts - iPart);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        auto left = static_cast<size_t>(n);
        while (iPart < kParts && left >= parts[iPart].iov_len) left -= parts[iPart++].iov_len;
        if (iPart < kParts) {
            parts[iPart].iov_base = static_cast<char*>(parts[iPart].iov_base) + left;
            parts[iPart].iov_len -= left;
        }
    }
}

}  // namespace nidmask
