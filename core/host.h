/// @file
/// The default host: error raising, the per-thread arena allocator and the host matrix record.
///
/// Every block the library allocates comes from `Hux::ImcAllocator::m_current`, the calling
/// thread's current arena. A default arena exists from start-up, so a caller that never touches
/// arenas still works (its memory then lives until the thread ends). A long-running caller wraps
/// each call or batch in an `ArenaScope`:
///
///     {
///         Hux::ArenaScope scope;                 // fresh arena, current for this thread
///         mutils::_double_mat m;
///         mutils::matdbl_malloc(&m, 512, 512);   // taken from the scope's arena
///         ...
///     }                                          // everything released, previous arena back
///
/// Storage operations raise `Hux::Error` (through `Hux::Throw`) with code 0xFFFFFFFF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "types.h"

namespace Hux {

/// The error raised by argument checks and storage operations.
class MUTILS_API Error : public std::exception {
public:
    Error(const char* message, unsigned code);         ///< an error carrying a message and a code
    const char* what() const noexcept override;        ///< the message text
    unsigned code() const noexcept { return m_code; }  ///< the code

private:
    std::string m_message;
    unsigned m_code;
};

/// Raises `Hux::Error(message, code)`; never returns.
[[noreturn]] MUTILS_API void Throw(const char* message, unsigned code);

/// Arena allocator: blocks are 64-byte aligned, carved from chunks that start at 64 KiB and double
/// with demand (up to 64 MiB a chunk; a larger request gets a chunk of its own); nothing is
/// released until the arena itself is destroyed or reset. Released chunks are kept by the
/// thread (up to 64 MiB) for its next arenas, so fresh ArenaScopes in a loop reuse mapped pages;
/// the rest goes back to the system, and the kept chunks when the thread ends.
/// A request the system cannot satisfy raises "out of memory".
class MUTILS_API ImcAllocator {
public:
    ImcAllocator() = default;
    ~ImcAllocator();
    ImcAllocator(const ImcAllocator&) = delete;
    ImcAllocator& operator=(const ImcAllocator&) = delete;

    /// A block of `bytes` bytes (at least one), aligned to 64 bytes, valid until reset().
    void* allocate_array(std::size_t bytes);
    /// Releases every block of this arena.
    void reset();
    /// Bytes held by this arena's chunks.
    std::size_t reserved() const { return m_reserved; }

    /// The calling thread's current arena; never null.
    static thread_local ImcAllocator* m_current;

    /// A block of memory that blocks are carved from (defined by the implementation).
    struct Chunk;

private:
    Chunk* m_head = nullptr;
    std::size_t m_reserved = 0;
};

/// Installs a fresh arena as the calling thread's current one; its destructor releases
/// everything allocated in it and restores the previous arena.
class MUTILS_API ArenaScope {
public:
    ArenaScope();
    ~ArenaScope();
    ArenaScope(const ArenaScope&) = delete;
    ArenaScope& operator=(const ArenaScope&) = delete;
    ImcAllocator& arena() { return m_arena; }  ///< the arena this scope installed

private:
    ImcAllocator m_arena;
    ImcAllocator* m_previous;
};

/// The host's matrix: column-major parts, element (r, c) at m_stride * c + r.
/// A host matrix is complex when both m_real and m_imag are set.
struct aMatrix {
    int32_t m_stride;  ///< elements between the starts of successive rows
    int32_t m_host;    ///< host-side handle, passed through
    int32_t m_rows;    ///< rows
    int32_t m_cols;    ///< columns
    double* m_real;    ///< real parts
    double* m_imag;    ///< imaginary parts, or null for a real matrix
};

/// Host constants.
struct MUTILS_API array_val {
    static const double m_zero;  ///< the value 0
};

/// The host's interrupt poll. `mutils::mutil_interrupt` hands it the operation's `intrp_ptr`
/// each time the operation's work passes its next check (once per step of work, so a poll may
/// be slow-ish without costing much); a true answer makes the operation return "interrupted".
/// The default host installs none, and a null `intrp_ptr` is never passed on: such calls never
/// stop. Process-wide; install it before calls start (a language binding does so on loading).
using InterruptPoll = unsigned char (*)(void* intrp_ptr);
/// Installs the host's interrupt poll (null removes it); see `InterruptPoll`.
MUTILS_API void set_interrupt_poll(InterruptPoll poll);

}  // namespace Hux
