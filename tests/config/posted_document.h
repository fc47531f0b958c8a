#pragma once

#include <string>
#include <utility>
#include <vector>

/** The settings as the pages post them: every element with a value that is told apart from the others'. */
class posted_document {
  public:
    posted_document();

    /** Replaces an element's text, unescaped. */
    posted_document& set(const std::string& name, const std::string& value);
    posted_document& remove(const std::string& name);
    std::string value(const std::string& name) const;

    std::string text() const;

  private:
    std::vector<std::pair<std::string, std::string>> m_elements;
};
