// Phone numbers: what is found, what looks like one and is none.

#include "content/phone.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

struct PHONES : OLIST {
  ~PHONES() override {
    while (first) {
      const BLOCKPHONE* phone = static_cast<const BLOCKPHONE*>(first->item);
      remove(phone);
      delete phone;
    }
  }
};

// Digits and text of each number, the last one found first; "*" when a letter
// was read as a digit.
std::string Find(const std::string& text) {
  const HeapText copy(text);
  PHONES phones;
  BlockParsePhones(copy.view(), phones, PO_DEFAULTOPTIONS);
  std::string out;
  OITER walk(&phones);
  while (const void* item = walk.next()) {
    const BLOCKPHONE* phone = static_cast<const BLOCKPHONE*>(item);
    out += phone->digits.c_str() + std::string(phone->hasLetters ? "*" : "") +
           "=" + Str(phone->text) + "|";
  }
  return out;
}

// Texts of one number each, as they stand.
TEST(PhoneTest, Numbers) {
  const char* const rows[] = {
      // By digits and groups.
      "555 1234",
      "12 34 56 78",
      "5555-1234",
      "206555 1234",
      "01 23 45 67 89",
      "(206) 555-1234",
      "206 5555 12 34",
      "0171 555 123",
      "0171 23 45 67",
      "0123456789",
      "8005551234",
      "12345678901",
      "1 206 555 1234",
      "1234567 890123",
      "1.206.555.1234",
      // A plus sign asks no more questions.
      "+33123456789",
      "+1 2 3 4 5 67890",
      "+(33) 123 456 789",
      "(+33) 2007 04 05",
      "+1234567890123",
      "+20070405123",
      // Up to three bytes of filler.
      "555 - 1234",
      "5551234 . 5678",
  };
  for (const std::string text : rows) {
    std::string digits;
    for (char c : text)
      if (c >= '0' && c <= '9') digits += c;
    EXPECT_EQ(Find(text), digits + "=" + text + "|");
    EXPECT_EQ(Find("  Call: " + text + "!\r\nus"), digits + "=" + text + "|");
  }
}

TEST(PhoneTest, LettersForDigits) {
  EXPECT_EQ(Find("O1 23 45 67 89"), "0123456789*=O1 23 45 67 89|");
  EXPECT_EQ(Find("\xA3 (lO1) 555-I2o4"), "1015551204*=(lO1) 555-I2o4|");
  EXPECT_EQ(Find("((206) 555-1234"), "2065551234=(206) 555-1234|");
  EXPECT_EQ(Find("++33123456789"), "33123456789=+33123456789|");
  // Those that end a word are not of the number, which then stands behind a
  // letter; those without a digit are no group.
  EXPECT_EQ(Find("foo1 23 45 67 89"), "");
  EXPECT_EQ(Find("01 23 45 67 89 lo"), "0123456789=01 23 45 67 89|");
  EXPECT_EQ(Find("O12345678 9, l0 1234567"), "");
}

TEST(PhoneTest, NoNumbers) {
  const std::string rows[] = {
      "",
      "123456",
      "1234567",
      "12345678",
      "123 4567 8",
      "123456789",
      "1234567890",        // one group, but not of 0 or 8
      "12 345 67890",      // 10 digits, another shape
      "1 2 3 4 12345678",  // 12 digits in five groups
      "12345678901234",
      "+123456789",
      "+12345678901234",
      "555....1234",  // four bytes of filler
      "555\t1234",
      "555:1234",
      "555%1234",
      "555=1234",
      "555<1234",
      "555>1234",
      "555@1234",
      "555\\1234",
      "555&1234",
      "555#1234",
      "555\"1234",
      "555?1234",
      "555$1234",
      // Prices.
      "$1234567890",
      "$0123456789",
      "0123456789$",
      "0123456789 \x80",
      "0123456789. \xA3",
      // References, URLs, addresses, versions.
      "Ref. 0123456789",
      "prefer 555 1234",
      "see HTTP://a/0123456789",
      "https://a/?b=0123456789",
      "192.168.1.254",
      "10.20.30.40 12 34",
      "x0123456789",
      "\xE9"
      "0123456789",
      ".0123456789",
      // Dates, with the hour too, and years.
      "2007-04-05 17",
      "2007-12-31 1234",
      "5.4.2007 12345",
      "05.04.2007 1234",
      "2005-2007",
      "1900 2099",
      "29.05.22 10",
      "05/29/22 10",
      "99-12-31 10",
      // Lines that say what they are.
      "Received 206 555-1234",
      "206 555-1234 DSBL",
      "x-mailer 555-1234",
      "100 % 555-1234",
      "Copyright 555-1234",
      "we received 555-1234",
      "Company 12345678901",
      "<meta 12 34 56 78",
  };
  for (const std::string& text : rows) EXPECT_EQ(Find(text), "") << text;
}

// Next to rows of NoNumbers.
TEST(PhoneTest, NearMisses) {
  EXPECT_EQ(Find("0123456789 ref"), "0123456789=0123456789|");
  EXPECT_EQ(Find("http://a/ 0123456789"), "0123456789=0123456789|");
  EXPECT_EQ(Find("(http:0123456789)"), "");
  EXPECT_EQ(Find("http://a/0123456789/0123456780"), "");
  EXPECT_EQ(Find("a http:0123456789"), "");
  EXPECT_EQ(Find("xhttp:0123456789"), "0123456789=0123456789|");
  EXPECT_EQ(Find("1899-2005"), "18992005=1899-2005|");
  // Dates but for one thing.
  for (const char* text : {"2007-13-31 17", "2007-12-32 17", "2007-12-00 17",
                           "02007-04-05 12", "29.05/22 10", "0171.05.12 10"})
    EXPECT_NE(Find(text), "") << text;
  EXPECT_EQ(Find("29 05 22 10"), "29052210=29 05 22 10|");
  EXPECT_EQ(Find("39.15.22 10"), "39152210=39.15.22 10|");
  EXPECT_EQ(Find("I received 206 555-1234"), "2065551234=206 555-1234|");
  EXPECT_EQ(Find("100 % 206 555-1234"), "2065551234=206 555-1234|");
  EXPECT_EQ(Find("mx-m 555-1234"), "5551234=555-1234|");
  // Five dotted groups are no address.
  EXPECT_EQ(Find("01.23.45.67.89"), "0123456789=01.23.45.67.89|");
  EXPECT_EQ(Find("1.22.33.44 55"), "");
  EXPECT_EQ(Find("10.0.0.1 0123456789"), "0123456789=0123456789|");
  EXPECT_EQ(Find("1234.123.123.12"), "123412312312=1234.123.123.12|");
}

TEST(PhoneTest, NineDigitsLoseTheFirst) {
  EXPECT_EQ(Find("133 22 22 44"), "33222244=33 22 22 44|");
  EXPECT_EQ(Find("(1 33 22 22 44"), "33222244=33 22 22 44|");
}

TEST(PhoneTest, SeveralOnALine) {
  EXPECT_EQ(Find("206 555-1234, 0123456789"),
            "0123456789=0123456789|2065551234=206 555-1234|");
  EXPECT_EQ(Find("12 34 56 78, 12 34 56 79"),
            "12345679=12 34 56 79|12345678=12 34 56 78|");
  EXPECT_EQ(Find("555 1234, 555 1235"), "5551235=555 1235|5551234=555 1234|");
  // A comma within the first eight bytes does not part two numbers.
  EXPECT_EQ(Find("123 456, 1234567"), "1234561234567=123 456, 1234567|");
  EXPECT_EQ(Find("1234567, 123 456 7890"), "1234567123456=1234567, 123 456|");
  // Without a comma as many groups as make one number.
  EXPECT_EQ(Find("0123456789 0123456780"),
            "0123456780=0123456780|0123456789=0123456789|");
  // The same digits twice are one.
  EXPECT_EQ(Find("0123456789\n01 23 45 67 89\nOI23456789"),
            "0123456789=0123456789|");
}

TEST(PhoneTest, TheListIsFull) {
  std::string text;
  for (int i = 0; i < kMaxPhones + 9; i++)
    text += std::to_string(10000000000 + i) + "\n";
  PHONES phones;
  BlockParsePhones(HeapText(text).view(), phones, PO_DEFAULTOPTIONS);
  EXPECT_EQ(phones.len(), kMaxPhones);
  AddPhone(TBLOCK("1"), phones);
  EXPECT_EQ(phones.len(), kMaxPhones);
}

TEST(PhoneTest, TextsWithoutADigitAreNotKept) {
  PHONES phones;
  AddPhone(TBLOCK(), phones);
  AddPhone(TBLOCK("(-)"), phones);
  EXPECT_EQ(phones.len(), 0);
}

}  // namespace
