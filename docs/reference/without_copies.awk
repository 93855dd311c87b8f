# What Doxygen gets to see of a header: without the declarations of copying, moving and destroying,
# which say nothing in a reference. Where one has a comment it stays. Lines keep their numbers.
BEGIN {
    name = "[A-Za-z0-9]+"
    source = "\\((" name ")( const&|&&)( [a-z]+)?\\)"
    end = "( noexcept)?( override)?( \\{.*\\}|;)$"
}

function is_special(line)
{
    return line ~ / = (default|delete);$/ ||
        line ~ "^ *" name "& operator=" source end ||
        line ~ "^ *(virtual )?~" name "\\(\\)" end ||
        (line ~ "^ *" name source end && takes_its_own(line))
}

# Whether a constructor takes an object of its own class.
function takes_its_own(line,   words)
{
    sub(/^ */, "", line)
    split(line, words, /[( &]/)
    return words[1] == words[2]
}

is_special($0) && before !~ /^ *\/\/\// { print ""; before = ""; next }
{ print; before = $0 }
