#include "host.h"

#include <cstdlib>
#include <new>

// Under AddressSanitizer the unused room of every arena chunk, a red zone of one alignment unit
// after each block, and every chunk a scope releases are poisoned: a read or write past the end
// of a block, or into a released one, is reported like one past a malloc'ed block, although
// all of them live in the same chunk.
#if defined(__SANITIZE_ADDRESS__)
#define MUTILS_ARENA_POISON 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MUTILS_ARENA_POISON 1
#endif
#endif
#if defined(MUTILS_ARENA_POISON)
#include <sanitizer/asan_interface.h>
#define MUTILS_POISON(p, n) __asan_poison_memory_region((p), (n))
#define MUTILS_UNPOISON(p, n) __asan_unpoison_memory_region((p), (n))
#else
#define MUTILS_POISON(p, n) ((void)(p), (void)(n))
#define MUTILS_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace Hux {

Error::Error(const char* message, unsigned code) : m_message(message ? message : ""), m_code(code) {}

const char* Error::what() const noexcept { return m_message.c_str(); }

void Throw(const char* message, unsigned code) { throw Error(message, code); }

const double array_val::m_zero = 0.0;

namespace {
constexpr std::size_t kAlign = 64;
constexpr std::size_t kMinChunk = std::size_t(64) << 10;

ImcAllocator& default_arena() {
    static thread_local ImcAllocator arena;
    return arena;
}
}  // namespace

struct ImcAllocator::Chunk {
    Chunk* next;
    std::size_t size;  // usable bytes after the header
    std::size_t used;
    unsigned char* base() { return reinterpret_cast<unsigned char*>(this) + kAlign; }
};
static_assert(sizeof(void*) * 3 <= kAlign, "chunk header fits in one alignment unit");

thread_local ImcAllocator* ImcAllocator::m_current = &default_arena();

ImcAllocator::~ImcAllocator() { reset(); }

namespace {

// Chunks released by an arena are kept by their thread, up to kCacheBudget bytes, and handed
// to the next arena of that thread that needs one of about their size: a caller that runs
// call after call in fresh ArenaScopes reuses pages that are already mapped instead of paying
// the system for new ones each time. The cache is plain data so that arenas destroyed late in
// a thread's exit can still use it; its keeper empties it and marks it closed.
constexpr std::size_t kCacheBudget = std::size_t(64) << 20;

struct ChunkCache {
    ImcAllocator::Chunk* head;
    std::size_t bytes;
    bool closed;
};
thread_local ChunkCache t_cache{nullptr, 0, false};

void release_chunk(ImcAllocator::Chunk* c) {
    MUTILS_UNPOISON(c->base(), c->size);
    std::free(c);
}

struct ChunkCacheKeeper {
    ~ChunkCacheKeeper() {
        t_cache.closed = true;
        while (ImcAllocator::Chunk* c = t_cache.head) {
            t_cache.head = c->next;
            release_chunk(c);
        }
        t_cache.bytes = 0;
    }
};

void cache_chunk(ImcAllocator::Chunk* c) {
    static thread_local ChunkCacheKeeper keeper;
    (void)keeper;
    if (t_cache.closed || c->size > kCacheBudget) return release_chunk(c);
    // Newest first; the oldest are dropped while the budget is exceeded.
    c->next = t_cache.head;
    t_cache.head = c;
    t_cache.bytes += c->size;
    MUTILS_POISON(c->base(), c->size);
    ImcAllocator::Chunk** link = &t_cache.head;
    std::size_t kept = 0;
    while (*link) {
        kept += (*link)->size;
        if (kept > kCacheBudget) {
            ImcAllocator::Chunk* drop = *link;
            *link = drop->next;
            t_cache.bytes -= drop->size;
            kept -= drop->size;
            release_chunk(drop);
        } else {
            link = &(*link)->next;
        }
    }
}

// A cached chunk of at least `size` usable bytes and at most twice that, or null.
ImcAllocator::Chunk* reuse_chunk(std::size_t size) {
    for (ImcAllocator::Chunk** link = &t_cache.head; *link; link = &(*link)->next) {
        ImcAllocator::Chunk* c = *link;
        if (c->size >= size && c->size / 2 <= size) {
            *link = c->next;
            t_cache.bytes -= c->size;
            return c;
        }
    }
    return nullptr;
}

}  // namespace

void ImcAllocator::reset() {
    while (m_head) {
        Chunk* next = m_head->next;
        cache_chunk(m_head);
        m_head = next;
    }
    m_reserved = 0;
}

void* ImcAllocator::allocate_array(std::size_t bytes) {
    if (bytes == 0) bytes = 1;
    if (bytes > (std::size_t(1) << 46)) Throw("out of memory", 0xFFFFFFFFu);
    std::size_t need = (bytes + kAlign - 1) & ~(kAlign - 1);
#if defined(MUTILS_ARENA_POISON)
    need += kAlign;  // a poisoned red zone after every block, even one whose size fills its units
#endif
    if (!m_head || m_head->size - m_head->used < need) {
        // Grow geometrically with what is already held so many small requests stay cheap,
        // and give large requests a chunk of their own size.
        std::size_t size = m_reserved;
        if (size < kMinChunk) size = kMinChunk;
        if (size > (std::size_t(64) << 20)) size = std::size_t(64) << 20;
        if (size < need) size = need;
        Chunk* c = reuse_chunk(size);
        if (c) {
            size = c->size;
        } else {
            void* raw = std::aligned_alloc(kAlign, size + kAlign);
            if (!raw) Throw("out of memory", 0xFFFFFFFFu);
            c = static_cast<Chunk*>(raw);
            c->size = size;
            MUTILS_POISON(c->base(), size);
        }
        c->used = 0;
        if (m_head && size < 2 * need) {
            // A chunk filled by one request goes behind the current head, which keeps its room.
            c->next = m_head->next;
            m_head->next = c;
            c->used = need;
            m_reserved += size + kAlign;
            MUTILS_UNPOISON(c->base(), bytes);
            return c->base();
        }
        c->next = m_head;
        m_head = c;
        m_reserved += size + kAlign;
    }
    void* p = m_head->base() + m_head->used;
    m_head->used += need;
    MUTILS_UNPOISON(p, bytes);
    return p;
}

ArenaScope::ArenaScope() : m_previous(ImcAllocator::m_current) { ImcAllocator::m_current = &m_arena; }

ArenaScope::~ArenaScope() { ImcAllocator::m_current = m_previous; }

}  // namespace Hux
