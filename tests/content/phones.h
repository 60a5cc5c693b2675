// A list that owns its phone numbers, for tests.

#ifndef TESTS_CONTENT_PHONES_H_
#define TESTS_CONTENT_PHONES_H_

#include "content/phone.h"

struct PHONES : OLIST {
  ~PHONES() override {
    while (first) {
      const BLOCKPHONE* phone = static_cast<const BLOCKPHONE*>(first->item);
      remove(phone);
      delete phone;
    }
  }
};

#endif  // TESTS_CONTENT_PHONES_H_
