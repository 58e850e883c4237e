// Looks at a page as a text, for the tests of everything that writes HTML.
#pragma once

#include <map>
#include <string>
#include <string_view>

// The first thing wrong with the nesting of the tags; empty when they are balanced. Every element must be closed or
// end in "/>", and no text may hold a bare "<".
std::string html_nesting_fault(std::string_view html);

// Every value of an attribute with the number of times it stands there: html_values(html, "id").
std::map<std::string, int> html_values(std::string_view html, std::string_view attribute);
