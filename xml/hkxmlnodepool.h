// Memory for the small objects of element trees.
//
// A tree read from text has a node for every word and every run of
// whitespace, so reading and destroying trees is mostly allocating and
// freeing a great many small objects of a few sizes. Element and attribute
// objects take their memory from here (through their class-specific
// operator new and delete) instead of from the C library's allocator.
//
// Objects are grouped by size (in steps of 16 bytes, up to 1 KiB; larger
// ones go to the global operator new). Memory comes in 64 KiB chunks, each
// cut into slots of one size. Every thread keeps a short list of free slots
// per size and exchanges them in batches with the shared lists, which are
// guarded by a mutex; so an object may be freed on another thread than the
// one that created it. A chunk whose slots are all free again is given back
// to the C library (one spare chunk per size is kept), and a thread's list
// goes back to the shared lists when the thread ends.
#pragma once

#include <cstddef>

// Memory for an object of `size` bytes; throws std::bad_alloc when there is none.
void* HKXMLPoolAllocate(std::size_t size);
// Gives back memory from HKXMLPoolAllocate; `size` must be the same. Null is ignored.
void HKXMLPoolFree(void* p, std::size_t size) noexcept;
