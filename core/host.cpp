#include "host.h"

#include <cstdlib>
#include <new>

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
        if (m_head && size == need) {
            // A chunk filled by one request goes behind the current head, which keeps its room.
            c->next = m_head->next;
            m_head->next = c;
            c->used = need;
            m_reserved += size + kAlign;
            return c->base();
        }
        c->next = m_head;
        m_head = c;
        m_reserved += size + kAlign;
    }
    void* p = m_head->base() + m_head->used;
    m_head->used += need;
    return p;
}

ArenaScope::ArenaScope() : m_previous(ImcAllocator::m_current) { ImcAllocator::m_current = &m_arena; }

ArenaScope::~ArenaScope() { ImcAllocator::m_current = m_previous; }

}  // namespace Hux
