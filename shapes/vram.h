// The vertex-storage manager: a few large buffers carved into blocks, first
// fit, split on allocation and merged with free neighbours on release.
#pragma once

#include "shapes/dlist.h"
#include "shapes/free_space.h"

namespace Kelo {

class IOpenGLShape;

class OGLVRAM {
public:
  struct HVRAM_Desc {
    unsigned long buffer;
    unsigned long offset;
    unsigned long size;
    bool free;

    // Lets the block list find the first free block that fits a request
    // without walking the blocks in use.
    using Summary = FreeSpace;
    FreeSpace Summarise() const { return free ? FreeSpace::Of(size) : FreeSpace(); }
  };
  using Node = DList<HVRAM_Desc>::DListNode;

  using InitFunction = bool (*)(unsigned long* names, unsigned long first, unsigned long count,
                                unsigned long* bufferSize);
  using CopyFunction = bool (*)(const IOpenGLShape* shape, const void* vertices);
  using RenderFunction = void (*)(const IOpenGLShape* shape);
  using ReleaseFunction = void (*)(unsigned long* names, unsigned long count);

  OGLVRAM();
  ~OGLVRAM();
  OGLVRAM(const OGLVRAM&) = delete;
  OGLVRAM& operator=(const OGLVRAM&) = delete;

  bool Init();
  Node* Allocate(unsigned long bytes);
  void Deallocate(Node* block);
  bool Copy(const IOpenGLShape* shape, const void* vertices);
  void Render(const IOpenGLShape* shape);
  bool Release();

  Node* AllocateInNewBuffer(unsigned long bytes);

  InitFunction init;
  CopyFunction copy;
  RenderFunction render;
  ReleaseFunction release;
  unsigned long* buffers;
  unsigned long bufferCount;
  DList<HVRAM_Desc> blocks;
  unsigned long bufferSize;
  // Tells the storage each Init starts from every other of the process, so a
  // shape can find out whether the storage it was stored in is still there.
  unsigned long long identity;
};

// The one storage manager of the process, shared by every device and shape:
// made by the first successful SetDisplayMode, destroyed by ReleaseGL.
extern OGLVRAM* VRAMManager;

}  // namespace Kelo
