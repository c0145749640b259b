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
  // Deletes every node after the sentinel.
  void clear();

  DListNode* head;
  DListNode* tail;
  unsigned long nodeCount;
};

// The sentinel's data is never read: it carries no value.
template <typename T>
DList<T>::DList() : head(new DListNode{nullptr, nullptr, T()}), tail(head), nodeCount(1) {}

template <typename T>
DList<T>::~DList() {
  clear();
  delete head;
}

template <typename T>
void DList<T>::push_back(const T& value) {
  DListNode* node = new DListNode{tail, nullptr, value};
  tail->next = node;
  tail = node;
  ++nodeCount;
}

template <typename T>
void DList<T>::split(DListNode* node, const T& value) {
  DListNode* added = new DListNode{node, node->next, value};
  if (node->next) {
    node->next->prev = added;
  } else {
    tail = added;
  }
  node->next = added;
  ++nodeCount;
}

template <typename T>
void DList<T>::merge(DListNode* first, DListNode* last, const T& value) {
  first->data = value;
  DListNode* after = last->next;
  for (DListNode* node = first->next; node != after;) {
    DListNode* next = node->next;
    delete node;
    --nodeCount;
    node = next;
  }
  first->next = after;
  if (after) {
    after->prev = first;
  } else {
    tail = first;
  }
}

template <typename T>
void DList<T>::clear() {
  for (DListNode* node = head->next; node;) {
    DListNode* next = node->next;
    delete node;
    --nodeCount;
    node = next;
  }
  head->next = nullptr;
  tail = head;
}

}  // namespace Kelo
