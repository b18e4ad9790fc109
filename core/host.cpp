#include "host.h"

#include <cstdlib>
#include <new>

// Under AddressSanitizer the unused room of every arena chunk, and the padding after each
// block, is poisoned: a read or write past the end of a block is reported like one past a
// malloc'ed block, although both live in the same chunk.
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

void ImcAllocator::reset() {
    while (m_head) {
        Chunk* next = m_head->next;
        MUTILS_UNPOISON(m_head->base(), m_head->size);
        std::free(m_head);
        m_head = next;
    }
    m_reserved = 0;
}

void* ImcAllocator::allocate_array(std::size_t bytes) {
    if (bytes == 0) bytes = 1;
    if (bytes > (std::size_t(1) << 46)) Throw("out of memory", 0xFFFFFFFFu);
    std::size_t need = (bytes + kAlign - 1) & ~(kAlign - 1);
    if (!m_head || m_head->size - m_head->used < need) {
        // Grow geometrically with what is already held so many small requests stay cheap,
        // and give large requests a chunk of their own size.
        std::size_t size = m_reserved;
        if (size < kMinChunk) size = kMinChunk;
        if (size > (std::size_t(64) << 20)) size = std::size_t(64) << 20;
        if (size < need) size = need;
        void* raw = std::aligned_alloc(kAlign, size + kAlign);
        if (!raw) Throw("out of memory", 0xFFFFFFFFu);
        Chunk* c = static_cast<Chunk*>(raw);
        c->size = size;
        c->used = 0;
        MUTILS_POISON(c->base(), size);
        if (m_head && size == need) {
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
