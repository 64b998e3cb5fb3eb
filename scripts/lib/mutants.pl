# mutants.pl SEED FILE...: prints one line for each small mistake that can be made in these C++ files, in an order that the
# seed decides: file, line number, byte in the line, length, what to write instead, separated by tabs. None in comments,
# texts, lines of the preprocessor and of the log.
use strict;
use warnings;
use List::Util 'shuffle';

# What to look for, and what to write instead.
my @operators = (
    [qr/ < /,   ' <= '], [qr/ <= /,  ' < '],  [qr/ > /,  ' >= '], [qr/ >= /,   ' > '],
    [qr/ == /,  ' != '], [qr/ != /,  ' == '], [qr/ && /, ' || '], [qr/ \|\| /, ' && '],
    [qr/ \+ /,  ' - '],  [qr/ - /,   ' + '],  [qr/ \* /, ' / '],  [qr/ \/ /,   ' * '],
    [qr/ \+= /, ' -= '], [qr/ -= /,  ' += '],
    [qr/\btrue\b/, 'false'], [qr/\bfalse\b/, 'true'],
    [qr/std::min\b/, 'std::max'], [qr/std::max\b/, 'std::min'],
    [qr/\bfront\(\)/, 'back()'], [qr/\bback\(\)/, 'front()'],
    [qr/\bcontinue;/, 'break;'], [qr/\bbreak;/, ';'],
    [qr/(?<=[( ])!(?=[a-zA-Z_])/, ''],
    [qr/(?<![\w.])0(?![\w.])/, '1'], [qr/(?<![\w.])1(?![\w.])/, '2'], [qr/(?<![\w.])2(?![\w.])/, '3'],
    [qr/(?<![\w.])0\.0(?!\w)/, '1.0'], [qr/(?<![\w.])0\.5(?!\w)/, '0.4'], [qr/(?<![\w.])1\.0(?!\w)/, '1.1'],
    # A call that is a statement is left out.
    [qr/^\s+(?!return\b|throw\b|using\b|delete\b)[\w.:>-]+\([^;]*\);$/, ';'],
);

srand(shift @ARGV);
my @mistakes;
for my $file (@ARGV)
{
    open(my $in, '<', $file) or die "$file: $!\n";
    my $is_comment = 0;
    while (my $line = <$in>)
    {
        chomp $line;
        my $code = $line;
        # What is not code becomes bytes that no operator knows; places stay as they are.
        $code =~ s/"(?:[^"\\]|\\.)*"/'~' x length($&)/ge;
        $code =~ s/'(?:[^'\\]|\\.)'/'~' x length($&)/ge;
        $is_comment = 1 if $code =~ m{/\*};
        my $skip = $is_comment;
        $is_comment = 0 if $code =~ m{\*/};
        $code =~ s{//.*}{};
        next if $skip || $code =~ /^\s*#|static_assert|^template|^\s*(KD)?\w*LOG/;
        for my $operator (@operators)
        {
            my ($pattern, $instead) = @$operator;
            push @mistakes, join("\t", $file, $., $-[0], $+[0] - $-[0], $instead) while $code =~ /$pattern/g;
        }
    }
}
print "$_\n" for shuffle(@mistakes);
