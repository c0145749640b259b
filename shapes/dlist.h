// A doubly linked list with a sentinel head. A node's address is the identity
// of what it holds: nodes are never moved, only linked, split and merged.
#pragma once

namespace Kelo {

template <typename T>
class DList {
public:
  struct DListNode {
    DListNode* prev;
    DListNode* next;
    T data;
  };

  DList();
  ~DList();
  DList(const DList&) = delete;
  DList& operator=(const DList&) = delete;

  void push_back(const T& value);
  // Links a new node holding `value` right after `node`.
  void split(DListNode* node, const T& value);
  // `first` takes `value`; the nodes after it up to and including `last` go.
  void merge(DListNode* first, DListNode* last, const T& value);

  DListNode* head;
  DListNode* tail;
  unsigned long nodeCount;
};

}  // namespace Kelo
