// The instance heap: each heap owns the blocks acquired from it and frees them
// all when it is discarded. Heaps are registered process-wide, so a stale or
// foreign token is refused instead of being dereferenced, and a block handed
// to Reallocate must belong to the heap named. Every call counts towards the
// failure injection that tests use to make a chosen call fail.
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

#include <qrnp/qrnp_os.h>

namespace {

// Results of the heap calls other than 0.
constexpr int32_t HEAP_BAD_ARGUMENT = 1;   // null or unknown token, null output pointer
constexpr int32_t HEAP_NO_MEMORY = 2;      // allocation failed, or the call was chosen to fail
constexpr int32_t HEAP_FOREIGN_BLOCK = 3;  // the block is not one of this heap's

// A heap: its live blocks and their sizes in bytes.
struct Heap {
    std::unordered_map<void*, uint64_t> blocks;
};

// Process-wide bookkeeping, guarded by one mutex.
struct HeapRegistry {
    std::mutex lock;
    std::unordered_set<Heap*> heaps;
    int64_t iLiveBlocks = 0;
    int32_t iFailCountdown = 0;            // > 0: calls left until the one that fails
    int64_t iCalls = 0;                    // heap calls made so far
};

// Never destroyed: a heap an instance left behind stays reachable (and
// usable) until the process ends, as with the engine's own heaps.
HeapRegistry& Registry() {
    static HeapRegistry* registry = new HeapRegistry;
    return *registry;
}

// Counts one heap call; true when this is the call chosen to fail. Lock held.
bool ChosenToFail(HeapRegistry& reg) {
    ++reg.iCalls;
    if (reg.iFailCountdown <= 0) return false;
    return --reg.iFailCountdown == 0;
}

// The heap a token names, or null when it names none. Lock held.
Heap* FindHeap(HeapRegistry& reg, KNL_HeapToken token) {
    auto* pHeap = static_cast<Heap*>(token);
    return reg.heaps.count(pHeap) != 0 ? pHeap : nullptr;
}

}  // namespace

int32_t KNL_Heap_Create(int32_t /*iInitialSize: blocks are allocated one by one*/, KNL_HeapToken* pToken) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    const bool bFail = ChosenToFail(reg);
    if (pToken == nullptr) return HEAP_BAD_ARGUMENT;
    *pToken = nullptr;
    if (bFail) return HEAP_NO_MEMORY;
    auto* pHeap = new (std::nothrow) Heap;
    if (pHeap == nullptr) return HEAP_NO_MEMORY;
    reg.heaps.insert(pHeap);
    *pToken = pHeap;
    return 0;
}

int32_t KNL_Heap_Acquire(KNL_HeapToken token, uint64_t iSize, void** ppBlock) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    const bool bFail = ChosenToFail(reg);
    if (ppBlock == nullptr) return HEAP_BAD_ARGUMENT;
    *ppBlock = nullptr;
    Heap* pHeap = FindHeap(reg, token);
    if (pHeap == nullptr) return HEAP_BAD_ARGUMENT;
    if (bFail) return HEAP_NO_MEMORY;
    // A zero-byte request still gets a distinct block.
    void* pBlock = std::calloc(iSize == 0 ? 1 : iSize, 1);
    if (pBlock == nullptr) return HEAP_NO_MEMORY;
    pHeap->blocks.emplace(pBlock, iSize);
    ++reg.iLiveBlocks;
    *ppBlock = pBlock;
    return 0;
}

int32_t KNL_Heap_Reallocate(KNL_HeapToken token, void* pOld, uint64_t iNewSize, void** ppBlock) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    const bool bFail = ChosenToFail(reg);
    if (ppBlock == nullptr) return HEAP_BAD_ARGUMENT;
    Heap* pHeap = FindHeap(reg, token);
    if (pHeap == nullptr) return HEAP_BAD_ARGUMENT;
    auto it = pHeap->blocks.find(pOld);
    if (it == pHeap->blocks.end()) return HEAP_FOREIGN_BLOCK;
    if (bFail) return HEAP_NO_MEMORY;
    const uint64_t iOldSize = it->second;
    void* pNew = std::realloc(pOld, iNewSize == 0 ? 1 : iNewSize);
    if (pNew == nullptr) return HEAP_NO_MEMORY;  // realloc kept the old block
    if (iNewSize > iOldSize) std::memset(static_cast<char*>(pNew) + iOldSize, 0, iNewSize - iOldSize);
    pHeap->blocks.erase(it);
    pHeap->blocks.emplace(pNew, iNewSize);
    *ppBlock = pNew;
    return 0;
}

int32_t KNL_Heap_Discard(KNL_HeapToken token) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    const bool bFail = ChosenToFail(reg);
    Heap* pHeap = FindHeap(reg, token);
    if (pHeap == nullptr) return HEAP_BAD_ARGUMENT;
    if (bFail) return HEAP_NO_MEMORY;
    for (auto& [pBlock, iSize] : pHeap->blocks) std::free(pBlock);
    reg.iLiveBlocks -= static_cast<int64_t>(pHeap->blocks.size());
    reg.heaps.erase(pHeap);
    delete pHeap;
    return 0;
}

void KNL_Heap_FailNthCall(int32_t n) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    reg.iFailCountdown = n > 0 ? n : 0;
}

int64_t KNL_Heap_LiveHeaps(void) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    return static_cast<int64_t>(reg.heaps.size());
}

int64_t KNL_Heap_LiveBlocks(void) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    return reg.iLiveBlocks;
}

int64_t KNL_Heap_CallCount(void) {
    HeapRegistry& reg = Registry();
    std::lock_guard guard(reg.lock);
    return reg.iCalls;
}
