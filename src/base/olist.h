// OLIST: a singly linked list of pointers that owns its cells and never its
// items; ORDLIST, which inserts in an order; OITER, which walks one. Gurus are
// the caller's objects that decide what is removed or where an item goes.

#ifndef BASE_OLIST_H_
#define BASE_OLIST_H_

#include <stdint.h>

class OLIST;
class ORDLIST;

class OLISTGURU {
 public:
  virtual ~OLISTGURU() {}
  // Asked about each item by OLIST::purge; not 0 removes it. `index` is the
  // place of the item after the removals so far. The base keeps all.
  virtual int yes2Remove(OLIST* list, const void* item, int index);
};

class OLIST {
 public:
  struct OLISTCELL {
    const void* item;
    OLISTCELL* next;
  };

  OLISTCELL* first;  // null when empty
  int32_t count;

  OLIST();
  virtual ~OLIST();
  OLIST(const OLIST&) = delete;
  OLIST& operator=(const OLIST&) = delete;

  // Puts the item at the end or at the front; returns its position, or -1
  // when the cell cannot be had. The list takes over the cell of _insert,
  // which was made by new.
  int insert(const void* item, short atEnd);
  int _insert(OLISTCELL* cell, short atEnd);
  // Removes the first cell with that very pointer; returns the index it had,
  // or -1.
  int remove(const void* item);
  int len() const { return count; }
  // Offers every item to the guru and removes those it says yes to; returns
  // how many. A null guru removes nothing. The guru must leave the list alone.
  int purge(OLISTGURU* guru);

 protected:
  void insertBehind(OLISTCELL* previous, OLISTCELL* cell);
  void removeBehind(OLISTCELL* previous);

  OLISTCELL* last;  // null when empty; makes appending a constant cost
};

class ORDLISTGURU {
 public:
  virtual ~ORDLISTGURU() {}
  // Not 0 when `item` goes ahead of `existing`.
  virtual int goesAhead(ORDLIST* list, const void* item,
                        const void* existing) = 0;
};

class ORDLIST : public OLIST {
 public:
  // Puts the item ahead of the first one that the guru names, else at the
  // end, so a tie goes behind; a null guru puts it at the front. Returns its
  // position, or -1 when the cell cannot be had.
  int insert(const void* item, ORDLISTGURU* guru);
  int _insert(OLISTCELL* cell, ORDLISTGURU* guru);
};

// The list must not lose the cell that the cursor stands on.
class OITER {
 public:
  const OLIST::OLISTCELL* cursor;

  explicit OITER(const OLIST* list) : cursor(list ? list->first : nullptr) {}
  // The next item, null at the end.
  const void* next();
};

#endif  // BASE_OLIST_H_
