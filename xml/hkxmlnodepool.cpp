#include <toviktwo/xml/hkxmlnodepool.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>

// Under AddressSanitizer free slots are poisoned, so that a use of an object
// after its deletion is still reported although the memory stays in the pool.
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define HK_POOL_POISON(p, n) ASAN_POISON_MEMORY_REGION((p), (n))
#define HK_POOL_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION((p), (n))
#else
#define HK_POOL_POISON(p, n) static_cast<void>(0)
#define HK_POOL_UNPOISON(p, n) static_cast<void>(0)
#endif

namespace {

constexpr std::size_t kChunkSize = 64 * 1024;  // also the alignment of a chunk
constexpr std::size_t kGranule = 16;
constexpr std::size_t kMaxSize = 1024;
constexpr std::size_t kClasses = kMaxSize / kGranule;
// Slots move between a thread and the shared lists this many at a time; a
// thread keeps at most twice as many freed slots of one size (a list being
// filled and one full list).
constexpr unsigned kBatch = 64;

struct Slot {
  Slot* next;
};

// The head of a chunk; the slots follow it. The slots from `carved` on have
// never been handed out since the chunk was (last) wholly free; the others
// are in use, in some thread's list, or in the chunk's own free list.
struct Chunk {
  Chunk* prev;  // in the list of chunks with free slots
  Chunk* next;
  Slot* free;
  std::uint32_t freeCount;  // the free list and the slots not carved yet
  std::uint32_t capacity;
  std::uint32_t carved;
  std::uint32_t slotSize;
  bool listed;
};
constexpr std::size_t kHeader = 64;
static_assert(sizeof(Chunk) <= kHeader && kHeader % kGranule == 0);

constexpr std::size_t slotSize(std::size_t sizeClass) { return (sizeClass + 1) * kGranule; }

Chunk* chunkOf(const void* p) {
  return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(p) & ~static_cast<std::uintptr_t>(kChunkSize - 1));
}

char* slotArea(Chunk* c) { return reinterpret_cast<char*>(c) + kHeader; }

// The link of a free slot (the rest of a free slot stays poisoned).
Slot* nextOf(Slot* s) {
  HK_POOL_UNPOISON(s, sizeof(Slot));
  Slot* n = s->next;
  HK_POOL_POISON(s, sizeof(Slot));
  return n;
}

void setNext(Slot* s, Slot* n) {
  HK_POOL_UNPOISON(s, sizeof(Slot));
  s->next = n;
  HK_POOL_POISON(s, sizeof(Slot));
}

// The shared state of one size: chunks that have free slots, and one wholly
// free chunk kept back so that a size in steady use does not give its last
// chunk away and fetch it again over and over.
struct SizeClass {
  std::mutex mutex;
  Chunk* partial = nullptr;
  Chunk* spare = nullptr;
};

// Never destroyed: objects may be freed during the destruction of static
// objects and after every thread's own list is gone.
SizeClass* sharedClasses() {
  static SizeClass* classes = new SizeClass[kClasses];
  return classes;
}

void linkChunk(SizeClass& sc, Chunk* c) {
  c->prev = nullptr;
  c->next = sc.partial;
  if (sc.partial != nullptr) sc.partial->prev = c;
  sc.partial = c;
  c->listed = true;
}

void unlinkChunk(SizeClass& sc, Chunk* c) {
  if (c->prev != nullptr) {
    c->prev->next = c->next;
  } else {
    sc.partial = c->next;
  }
  if (c->next != nullptr) c->next->prev = c->prev;
  c->prev = c->next = nullptr;
  c->listed = false;
}

Chunk* newChunk(std::size_t sizeClass) {
  void* memory = std::aligned_alloc(kChunkSize, kChunkSize);
  if (memory == nullptr) throw std::bad_alloc();
  Chunk* c = ::new (memory) Chunk{};
  c->slotSize = static_cast<std::uint32_t>(slotSize(sizeClass));
  c->capacity = static_cast<std::uint32_t>((kChunkSize - kHeader) / c->slotSize);
  c->freeCount = c->capacity;
  HK_POOL_POISON(slotArea(c), kChunkSize - kHeader);
  return c;
}

void releaseChunk(Chunk* c) {
  HK_POOL_UNPOISON(c, kChunkSize);
  std::free(c);
}

// What a thread takes from the shared lists at once: freed slots (linked),
// and a run of slots never handed out, from `runBegin` up to `runEnd`.
struct Batch {
  Slot* head = nullptr;
  unsigned count = 0;
  char* runBegin = nullptr;
  char* runEnd = nullptr;
};

// Takes up to `want` slots (at least one).
Batch takeSlots(std::size_t sizeClass, unsigned want) {
  SizeClass& sc = sharedClasses()[sizeClass];
  std::lock_guard<std::mutex> lock(sc.mutex);
  Batch batch;
  Chunk* c = sc.partial;
  if (c == nullptr) {
    if (sc.spare != nullptr) {
      c = sc.spare;
      sc.spare = nullptr;
    } else {
      c = newChunk(sizeClass);
    }
    linkChunk(sc, c);
  }
  // Freed slots first, so that memory in use stays together.
  while (c->free != nullptr && batch.count < want) {
    Slot* s = c->free;
    c->free = nextOf(s);
    --c->freeCount;
    setNext(s, batch.head);
    batch.head = s;
    ++batch.count;
  }
  if (batch.count < want && c->carved < c->capacity) {
    const std::uint32_t n = std::min<std::uint32_t>(want - batch.count, c->capacity - c->carved);
    batch.runBegin = slotArea(c) + static_cast<std::size_t>(c->carved) * c->slotSize;
    batch.runEnd = batch.runBegin + static_cast<std::size_t>(n) * c->slotSize;
    c->carved += n;
    c->freeCount -= n;
  }
  if (c->freeCount == 0) unlinkChunk(sc, c);
  return batch;
}

void giveSlot(SizeClass& sc, Slot* s) {
  Chunk* c = chunkOf(s);
  setNext(s, c->free);
  c->free = s;
  ++c->freeCount;
  if (!c->listed) linkChunk(sc, c);
  if (c->freeCount == c->capacity) {
    // Wholly free: it starts afresh, or goes back to the C library.
    unlinkChunk(sc, c);
    c->free = nullptr;
    c->carved = 0;
    if (sc.spare == nullptr) {
      sc.spare = c;
    } else {
      releaseChunk(c);
    }
  }
}

// Returns up to `count` linked free slots to their chunks.
void giveSlots(std::size_t sizeClass, Slot* head, unsigned count) {
  SizeClass& sc = sharedClasses()[sizeClass];
  std::lock_guard<std::mutex> lock(sc.mutex);
  for (unsigned i = 0; i < count && head != nullptr; ++i) {
    Slot* s = head;
    head = nextOf(s);
    giveSlot(sc, s);
  }
}

// Returns the slots of a run that were not handed out.
void giveRun(std::size_t sizeClass, char* begin, char* end) {
  if (begin == end) return;
  SizeClass& sc = sharedClasses()[sizeClass];
  std::lock_guard<std::mutex> lock(sc.mutex);
  for (char* p = begin; p < end; p += slotSize(sizeClass)) giveSlot(sc, reinterpret_cast<Slot*>(p));
}

// Each thread's free slots by size: the list in use (`count` slots), a full
// list of kBatch slots or null, and a run of slots never handed out.
struct ThreadCache {
  Slot* head[kClasses] = {};
  unsigned count[kClasses] = {};
  Slot* full[kClasses] = {};
  char* runBegin[kClasses] = {};
  char* runEnd[kClasses] = {};
};

// The thread's cache; null until the thread first uses the pool, and
// kFinished once the thread is ending (objects freed then go straight to the
// shared lists). A plain pointer in the thread's static storage: reaching it
// takes no call.
ThreadCache* const kFinished = reinterpret_cast<ThreadCache*>(alignof(ThreadCache));
[[gnu::tls_model("initial-exec")]] thread_local ThreadCache* tl_cache = nullptr;

// Empties and frees the thread's cache when the thread ends.
struct ThreadCacheOwner {
  ThreadCache* cache = nullptr;
  ~ThreadCacheOwner() {
    if (cache == nullptr) return;
    tl_cache = kFinished;
    for (std::size_t i = 0; i < kClasses; ++i) {
      if (cache->head[i] != nullptr) giveSlots(i, cache->head[i], cache->count[i]);
      if (cache->full[i] != nullptr) giveSlots(i, cache->full[i], kBatch);
      giveRun(i, cache->runBegin[i], cache->runEnd[i]);
    }
    delete cache;
  }
};
thread_local ThreadCacheOwner tl_owner;

// The thread's cache, made on first use; null when the thread is ending (or
// there is no memory for a cache: the shared lists serve then).
ThreadCache* threadCache() noexcept {
  ThreadCache* tc = tl_cache;
  if (tc == kFinished) return nullptr;
  if (tc == nullptr) {
    tc = new (std::nothrow) ThreadCache();
    if (tc == nullptr) return nullptr;
    tl_owner.cache = tc;
    tl_cache = tc;
  }
  return tc;
}

void* allocateSlow(std::size_t sizeClass) {
  ThreadCache* tc = threadCache();
  if (tc == nullptr) {
    const Batch one = takeSlots(sizeClass, 1);
    return one.head != nullptr ? static_cast<void*>(one.head) : static_cast<void*>(one.runBegin);
  }
  if (tc->full[sizeClass] != nullptr) {
    Slot* s = tc->full[sizeClass];
    tc->full[sizeClass] = nullptr;
    tc->head[sizeClass] = nextOf(s);
    tc->count[sizeClass] = kBatch - 1;
    return s;
  }
  if (tc->runBegin[sizeClass] != tc->runEnd[sizeClass]) {
    char* p = tc->runBegin[sizeClass];
    tc->runBegin[sizeClass] = p + slotSize(sizeClass);
    return p;
  }
  const Batch batch = takeSlots(sizeClass, kBatch);
  tc->runBegin[sizeClass] = batch.runBegin;
  tc->runEnd[sizeClass] = batch.runEnd;
  if (batch.head != nullptr) {
    tc->head[sizeClass] = nextOf(batch.head);
    tc->count[sizeClass] = batch.count - 1;
    return batch.head;
  }
  char* p = tc->runBegin[sizeClass];
  tc->runBegin[sizeClass] = p + slotSize(sizeClass);
  return p;
}

}  // namespace

void* HKXMLPoolAllocate(std::size_t size) {
  if (size == 0) size = 1;
  if (size > kMaxSize) return ::operator new(size);
  const std::size_t sizeClass = (size - 1) / kGranule;
  void* p;
  ThreadCache* tc = tl_cache;
  Slot* s;
  if (tc != nullptr && tc != kFinished && (s = tc->head[sizeClass]) != nullptr) {
    tc->head[sizeClass] = nextOf(s);
    --tc->count[sizeClass];
    p = s;
  } else {
    p = allocateSlow(sizeClass);
  }
  HK_POOL_UNPOISON(p, slotSize(sizeClass));
  return p;
}

void HKXMLPoolFree(void* p, std::size_t size) noexcept {
  if (p == nullptr) return;
  if (size == 0) size = 1;
  if (size > kMaxSize) {
    ::operator delete(p);
    return;
  }
  const std::size_t sizeClass = (size - 1) / kGranule;
  Slot* s = static_cast<Slot*>(p);
#if defined(__SANITIZE_ADDRESS__)
  // A slot that is poisoned already is free: touching it makes the
  // sanitizer report the double deletion.
  if (__asan_address_is_poisoned(p)) static_cast<void>(*static_cast<volatile char*>(p));
#endif
  HK_POOL_POISON(s, slotSize(sizeClass));
  ThreadCache* tc = tl_cache;
  if (tc == nullptr || tc == kFinished) tc = threadCache();
  if (tc == nullptr) {
    setNext(s, nullptr);
    giveSlots(sizeClass, s, 1);
    return;
  }
  setNext(s, tc->head[sizeClass]);
  tc->head[sizeClass] = s;
  if (++tc->count[sizeClass] == kBatch) {
    // The list is full: it is kept, and a full list kept before goes back.
    if (tc->full[sizeClass] != nullptr) giveSlots(sizeClass, tc->full[sizeClass], kBatch);
    tc->full[sizeClass] = s;
    tc->head[sizeClass] = nullptr;
    tc->count[sizeClass] = 0;
  }
}
