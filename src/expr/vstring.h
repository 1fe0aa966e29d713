// The translator's own text class: one NUL-terminated heap array that copies share, no length
// field. Tree names and all name lists use it; conversion to `char const*` gives the text.
#pragma once

class String {
  public:
    String();
    String(String const& other);
    String(String&& other) noexcept;
    String(char const* text);
    String(char const* begin, char const* end);
    ~String();

    String& operator=(String const& other);
    String& operator=(String&& other) noexcept;
    String& operator=(char const* text);

    String& operator+=(char const* text);
    String& operator+=(String const& other);
    String& operator+=(char c);
    String operator+(char const* text) const;

    bool operator==(char const* t) const;
    bool operator!=(char const* t) const;
    bool operator<(char const* t) const;
    bool operator>(char const* t) const;
    bool operator<=(char const* t) const;
    bool operator>=(char const* t) const;

    bool operator==(String const& t) const { return *this == t.s; }

    bool operator!=(String const& t) const { return *this != t.s; }

    bool operator<(String const& t) const { return *this < t.s; }

    bool operator>(String const& t) const { return *this > t.s; }

    bool operator<=(String const& t) const { return *this <= t.s; }

    bool operator>=(String const& t) const { return *this >= t.s; }

    // A write goes to an array of this text's own: copies and the empty text share theirs.
    char& operator[](int i);

    char operator[](int i) const { return s[i]; }

    int Find(char c, int from) const;
    int Find(char const* pattern, int from) const;
    void TrimLeft();

    operator char const*() const { return s; }

  private:
    char* s;
};

bool operator==(char const* a, String const& b);
bool operator!=(char const* a, String const& b);
