// Phone numbers: what is found, what looks like one and is none.

#include "content/phone.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "content/phones.h"

namespace {

// The text with each number that is found in brackets.
std::string Find(std::string text) {
  const HeapText copy(text);
  PHONES phones;
  BlockParsePhones(copy.view(), phones, PO_DEFAULTOPTIONS);
  // The last one is at the head, so that places ahead of it stay right.
  OITER walk(&phones);
  while (const void* item = walk.next()) {
    const TBLOCK found = static_cast<const BLOCKPHONE*>(item)->text;
    const size_t at = size_t(found.pointer - copy.view().pointer);
    text.insert(at + found.length, "]").insert(at, "[");
  }
  return text;
}

// Rows are parted by "|" and name what Find gives.
void CheckRows(const std::string& rows) {
  for (size_t at = 0, end; at < rows.size(); at = end + 1) {
    end = rows.find('|', at);
    if (end == rows.npos) end = rows.size();
    const std::string row = rows.substr(at, end - at);
    std::string text;
    for (char c : row)
      if (c != '[' && c != ']') text += c;
    EXPECT_EQ(Find(text), row);
    EXPECT_EQ(Find("1\r\n \t" + text + " \r\n,"), "1\r\n \t" + row + " \r\n,");
  }
}

TEST(PhoneTest, ByDigitsAndGroups) {
  CheckRows(
      "123456|1234567|[555 1234]|12345678|[12 34 56 78]|[5555-1234]|123 4567 8|"
      "123456789|1[33 22 22 44]|1 [33 22 22 44]|(1[33 22 22 44]|1234567890|"
      "[0123456789]|[8005551234]|[206555 1234]|[01 23 45 67 89]|"
      "[(206) 555-1234]|[206 5555 12 34]|[0171 555 123]|[0171 23 45 67]|"
      "12 345 67890|[12345678901]|[1.206.555.1234]|[1234567 890123]|"
      "1 2 3 4 12345678|12345678901234");
  // A plus sign asks no more questions.
  CheckRows(
      "+123456789|[+33123456789]|[+1 2 3 4 5 67890]|[+(33) 123 456 789]|"
      "[(+33) 2007 04 05]|[+1234567890123]|+12345678901234|+[+33123456789]|"
      "([(206) 555-1234]|[+20070405123]");
  // Up to three bytes between groups, and not all bytes.
  CheckRows(
      "[555 - 1234]|555....1234|555\t1234|555:1234|555%1234|555=1234|555<1234|"
      "555>1234|555@1234|555\\1234|555&1234|555#1234|555\"1234|555?1234|"
      "555$1234|[5551234 . 5678]");
}

TEST(PhoneTest, WhatStandsAround) {
  // Prices and references.
  CheckRows(
      "$1234567890|$0123456789|0123456789$|0123456789 \x80|0123456789. \xA3|"
      "Ref. 0123456789|prefer 555 1234|[0123456789] ref");
  // URLs, addresses, versions.
  CheckRows(
      "see HTTP://a/0123456789|https://a/?b=0123456789|(http:0123456789)|"
      "http://a/0123456789/0123456780|http://a/ [0123456789]|"
      "xhttp:[0123456789]|192.168.1.254|10.20.30.40 12 34|1.22.33.44 55|"
      "10.0.0.1 [0123456789]|[01.23.45.67.89]|[1234.123.123.12]|x0123456789|"
      "\3510123456789|\351 [0123456789]|.0123456789");
  // Dates, with the hour too, and what differs from one in one thing.
  CheckRows(
      "2007-04-05 17|2007-12-31 1234|5.4.2007 12345|05.04.2007 1234|2005-2007|"
      "1900 2099|29.05.22 10|05/29/22 10|99-12-31 10|[2007-13-31 17]|"
      "[2007-12-32 17]|[2007-12-00 17]|[02007-04-05 12]|[29.05/22 10]|"
      "[0171.05.12 10]|[29 05 22 10]|[39.15.22 10]|[1899-2005]");
  // Lines that say what they are.
  CheckRows(
      "Received 206 555-1234|I received [206 555-1234]|206 555-1234 DSBL|"
      "x-mailer 555-1234|mx-m [555-1234]|100 % 555-1234|100 % [206 555-1234]|"
      "Copyright 555-1234|we received 555-1234|Company 12345678901|"
      "<meta 12 34 56 78");
}

TEST(PhoneTest, SeveralOnALine) {
  CheckRows("[206 555-1234], [0123456789]|[555 1234], [555 1235]");
  // A comma within the first eight bytes does not part two numbers.
  CheckRows("[123 456, 1234567]|[1234567, 123 456] 7890");
  // Without a comma as many groups as make one number.
  CheckRows("[0123456789] [0123456780]");
  // The same digits twice are one.
  CheckRows("[0123456789]; 0123456789 (OI23456789)");
}

TEST(PhoneTest, LettersForDigits) {
  // Those that end a word are not of the number, which then stands behind a
  // letter; those without a digit are no group.
  CheckRows(
      "[O1 23 45 67 89]|\xA3 [(lO1) 555-I2o4]|foo1 23 45 67 89|"
      "[01 23 45 67 89] lo|O12345678 9, l0 1234567");
  BLOCKPHONE phone;
  EXPECT_TRUE(phone.read(HeapText("(lO1) 555-I2o4").view()));
  EXPECT_STREQ(phone.digits.c_str(), "1015551204");
  EXPECT_EQ(phone.hasLetters, 1);
  EXPECT_TRUE(phone.read(HeapText("+33 (0)1").view()));
  EXPECT_STREQ(phone.digits.c_str(), "3301");
  EXPECT_EQ(phone.hasLetters, 0);
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

}  // namespace
