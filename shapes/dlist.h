// A doubly linked list with a sentinel head. A node's address is the identity
// of what it holds: nodes are never moved, only linked, split and merged.
//
// The nodes also form a balanced tree (a treap) in list order, rooted at the
// sentinel, and each keeps a summary of the data in its subtree
// (`T::Summary`, made by `data.Summarise()` and `Summary::Join`). A search for
// the first node whose data meets a condition then follows one path down the
// tree instead of walking the list, provided the condition can be judged
// exactly from a summary.
#pragma once

#include <cstdint>

namespace Kelo {

template <typename T>
class DList {
public:
  using Summary = typename T::Summary;

  struct DListNode {
    DListNode* prev;
    DListNode* next;
    T data;
    DListNode* left;
    DListNode* right;
    DListNode* parent;
    Summary subtree;
  };

  DList();
  ~DList();
  DList(const DList&) = delete;
  DList& operator=(const DList&) = delete;

  void push_back(const T& value);
  // Links a new node holding `value` right after `node`. The caller may have
  // changed `node`'s data just before: both are summarised in one pass.
  void split(DListNode* node, const T& value);
  // `first` takes `value`; the nodes after it up to and including `last` go.
  void merge(DListNode* first, DListNode* last, const T& value);
  // Deletes every node after the sentinel.
  void clear();
  void set(DListNode* node, const T& value);
  // The first node in list order whose data `meets`, or null. `meets` is
  // asked about summaries and must be true exactly when some node of the
  // summary's subtree meets it.
  template <typename Condition>
  DListNode* find_first(Condition meets) const;

  DListNode* head;
  DListNode* tail;
  unsigned long nodeCount;

private:
  DListNode* NewNode(DListNode* prev, DListNode* next, const T& value);
  void Attach(DListNode* after, DListNode* node);
  void Detach(DListNode* node);
  void RotateUp(DListNode* node);
  void Resummarise(DListNode* node);
  void ResummariseToRoot(DListNode* node, const DListNode* changed = nullptr);
};

namespace DListDetail {

// Treap priorities hashed from node addresses: random enough to keep the
// tree shallow, and nothing to store. The sentinel stays the root whatever
// its hash.
inline uint32_t Priority(const void* node) {
  uint64_t x = reinterpret_cast<uintptr_t>(node);
  x ^= x >> 33;
  x *= 0xff51afd7ed558ccdull;
  x ^= x >> 33;
  x *= 0xc4ceb9fe1a85ec53ull;
  x ^= x >> 33;
  return static_cast<uint32_t>(x) >> 1;
}

}  // namespace DListDetail

// The sentinel's data is never read: it carries no value.
template <typename T>
DList<T>::DList()
    : head(new DListNode{nullptr, nullptr, T(), nullptr, nullptr, nullptr, Summary()}),
      tail(head),
      nodeCount(1) {}

template <typename T>
DList<T>::~DList() {
  clear();
  delete head;
}

template <typename T>
typename DList<T>::DListNode* DList<T>::NewNode(DListNode* prev, DListNode* next, const T& value) {
  ++nodeCount;
  return new DListNode{prev, next, value, nullptr, nullptr, nullptr, value.Summarise()};
}

template <typename T>
void DList<T>::push_back(const T& value) {
  DListNode* node = NewNode(tail, nullptr, value);
  tail->next = node;
  Attach(tail, node);
  tail = node;
}

template <typename T>
void DList<T>::split(DListNode* node, const T& value) {
  DListNode* added = NewNode(node, node->next, value);
  if (node->next) {
    node->next->prev = added;
  } else {
    tail = added;
  }
  node->next = added;
  Attach(node, added);
}

template <typename T>
void DList<T>::merge(DListNode* first, DListNode* last, const T& value) {
  DListNode* after = last->next;
  for (DListNode* node = first->next; node != after;) {
    DListNode* next = node->next;
    Detach(node);
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
  set(first, value);
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
  head->right = nullptr;
  tail = head;
}

template <typename T>
void DList<T>::set(DListNode* node, const T& value) {
  node->data = value;
  ResummariseToRoot(node);
}

// Exactness of `meets` is what lets the search go right without looking back:
// when neither the left subtree nor the node meets it, the right one must.
template <typename T>
template <typename Condition>
typename DList<T>::DListNode* DList<T>::find_first(Condition meets) const {
  DListNode* node = head->right;
  if (!node || !meets(node->subtree)) return nullptr;
  for (;;) {
    if (node->left && meets(node->left->subtree)) {
      node = node->left;
    } else if (meets(node->data.Summarise())) {
      return node;
    } else {
      node = node->right;
    }
  }
}

// `node` goes into the tree as the successor of `after`, then rises to its
// place by priority.
template <typename T>
void DList<T>::Attach(DListNode* after, DListNode* node) {
  DListNode* parent = after;
  if (parent->right) {
    parent = parent->right;
    while (parent->left) parent = parent->left;
    parent->left = node;
  } else {
    parent->right = node;
  }
  node->parent = parent;
  const DListNode* changed = after;
  while (node->parent != head &&
         DListDetail::Priority(node) > DListDetail::Priority(node->parent)) {
    if (node->parent == after) changed = nullptr;
    RotateUp(node);
  }
  ResummariseToRoot(node->parent, changed);
}

// `node` sinks until it has at most one child, which then takes its place.
template <typename T>
void DList<T>::Detach(DListNode* node) {
  while (node->left && node->right) {
    const bool leftRises = DListDetail::Priority(node->left) > DListDetail::Priority(node->right);
    RotateUp(leftRises ? node->left : node->right);
  }
  DListNode* child = node->left ? node->left : node->right;
  DListNode* parent = node->parent;
  (parent->left == node ? parent->left : parent->right) = child;
  if (child) child->parent = parent;
  ResummariseToRoot(parent);
}

// Swaps `node` with its parent, keeping list order. Never asked of a child of
// the sentinel.
template <typename T>
void DList<T>::RotateUp(DListNode* node) {
  DListNode* parent = node->parent;
  DListNode* grandparent = parent->parent;
  (grandparent->left == parent ? grandparent->left : grandparent->right) = node;
  node->parent = grandparent;
  if (parent->left == node) {
    parent->left = node->right;
    if (parent->left) parent->left->parent = parent;
    node->right = parent;
  } else {
    parent->right = node->left;
    if (parent->right) parent->right->parent = parent;
    node->left = parent;
  }
  parent->parent = node;
  Resummarise(parent);
  Resummarise(node);
}

template <typename T>
void DList<T>::Resummarise(DListNode* node) {
  Summary summary = node->data.Summarise();
  if (node->left) summary = Summary::Join(node->left->subtree, summary);
  if (node->right) summary = Summary::Join(summary, node->right->subtree);
  node->subtree = summary;
}

// Once a summary comes out as it was, the ones above stay right, provided
// every change lies below: so the pass may stop early only after `changed`,
// a node whose own data changed, if it lies on the way. The sentinel's own
// summary is never asked for: searches start below it.
template <typename T>
void DList<T>::ResummariseToRoot(DListNode* node, const DListNode* changed) {
  for (; node != head; node = node->parent) {
    const Summary before = node->subtree;
    Resummarise(node);
    if (node == changed) changed = nullptr;
    if (!changed && node->subtree == before) return;
  }
}

}  // namespace Kelo
