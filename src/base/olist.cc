// Lists of pointers. Tested by olist_test.cc.

#include "base/olist.h"

#include <new>

namespace {

OLIST::OLISTCELL* NewCell(const void* item) {
  return new (std::nothrow) OLIST::OLISTCELL{item, nullptr};
}

}  // namespace

int OLISTGURU::yes2Remove(OLIST* /*list*/, const void* /*item*/,
                          int /*index*/) {
  return 0;
}

OLIST::OLIST() : first(nullptr), count(0), last(nullptr) {}

OLIST::~OLIST() {
  while (first) {
    OLISTCELL* next = first->next;
    delete first;
    first = next;
  }
}

int OLIST::insert(const void* item, short atEnd) {
  return _insert(NewCell(item), atEnd);
}

int OLIST::_insert(OLISTCELL* cell, short atEnd) {
  if (!cell) return -1;
  insertBehind(atEnd ? last : nullptr, cell);
  return atEnd ? count - 1 : 0;
}

// Links a cell behind another one; null: at the front.
void OLIST::insertBehind(OLISTCELL* previous, OLISTCELL* cell) {
  OLISTCELL*& link = previous ? previous->next : first;
  cell->next = link;
  link = cell;
  if (last == previous) last = cell;
  count++;
}

// Unlinks and deletes the cell behind another one; null: the first.
void OLIST::removeBehind(OLISTCELL* previous) {
  OLISTCELL*& link = previous ? previous->next : first;
  OLISTCELL* gone = link;
  link = gone->next;
  if (last == gone) last = previous;
  delete gone;
  count--;
}

int OLIST::remove(const void* item) {
  OLISTCELL* previous = nullptr;
  int index = 0;
  for (OLISTCELL* cell = first; cell; cell = cell->next, index++) {
    if (cell->item == item) {
      removeBehind(previous);
      return index;
    }
    previous = cell;
  }
  return -1;
}

// The index offered is the place after the removals so far: it stays 0 while
// the head goes, and moves on only past a cell that stays.
int OLIST::purge(OLISTGURU* guru) {
  if (!guru) return 0;
  int removed = 0;
  OLISTCELL* previous = nullptr;
  int index = 0;
  for (OLISTCELL* cell = first; cell;) {
    OLISTCELL* next = cell->next;
    if (guru->yes2Remove(this, cell->item, index)) {
      removeBehind(previous);
      removed++;
    } else {
      previous = cell;
      index++;
    }
    cell = next;
  }
  return removed;
}

int ORDLIST::insert(const void* item, ORDLISTGURU* guru) {
  return _insert(NewCell(item), guru);
}

int ORDLIST::_insert(OLISTCELL* cell, ORDLISTGURU* guru) {
  if (!cell) return -1;
  OLISTCELL* previous = nullptr;
  int index = 0;
  for (OLISTCELL* at = first; guru && at; at = at->next, index++) {
    if (guru->goesAhead(this, cell->item, at->item)) break;
    previous = at;
  }
  insertBehind(previous, cell);
  return index;
}

const void* OITER::next() {
  if (!cursor) return nullptr;
  const void* item = cursor->item;
  cursor = cursor->next;
  return item;
}
