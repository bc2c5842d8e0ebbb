#!/usr/bin/env bash
# Compares docs/operating.md with the sources, both ways: every text that can appear on the board or
# in a banner stands in the guide's tables and every text of the tables in the sources; every key of
# the ini file likewise, with its default; and what the doctor says to do. Each difference is one line, and any makes the check fail.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

exec perl - docs/operating.md vms/server/plugins/analytics/tavo_orlix_manager_plugin/plugin/src <<'PERL'
use strict;
use warnings;
use File::Find;

my ($guideFile, $folder) = @ARGV;
my $failed = 0;
sub differs { print STDERR "@_\n"; $failed = 1; }
sub content { open(my $file, '<', $_[0]) or die "$_[0]: $!\n"; local $/; return scalar <$file>; }

# Line ends and runs of blanks do not count: a table's row has one line.
sub plain { my $text = shift; $text =~ s/\\n/ /g; $text =~ s/\\"/"/g; $text =~ s/\s+/ /g; $text =~ s/^ | $//g; return $text; }

# What shows a text to users: these calls, and constants of these names.
my $calls = qr/\b(?:postMessage|addBanner|startFailed|failed|post|setAgentError|downloadFile)\s*\(/;
my $constants = qr/\bk\w*(?:Text|CannotStart)\[\]\s*=|\bsdkText\(\)\s*\{|\bprogressText\([^)]*\)\s*\{|std::string text =/;
my $literal = qr/"((?:[^"\\]|\\.)*)"/;

my (%inCode, $allCode);
find({no_chdir => 1, wanted => sub {
    return unless /\.(?:cpp|h)$/;
    my $source = content($_);
    $source =~ s{^\s*//.*$}{}mg;
    $source =~ s/"\s*\n\s*"//g; # one text on two lines
    my $shown = $source =~ s/\blog_\w+\([^;]*;//gr; # the log is not for the dialog
    $allCode .= join("\n", map { plain($_) } $source =~ /$literal/g) . "\n";
    return unless m{/(?:dialog/settings_model_(?:banners|controls)|pipelines/pipelines|inference/(?:manager_\w+|plugin_socket_claim)|runtimes/\w+|models/model_\w+|remote/file_downloader|base/outcome|core/(?:engine|requests|device_parameters))\.cpp$};
    while ($shown =~ /(?:$calls|$constants)([^;]*);/g) {
        my $statement = $1;
        for my $text ($statement =~ /$literal/g) {
            my $words = plain($text);
            $words =~ s/^[^A-Za-z]*(?:bytes\) )?//; # behind a number
            $inCode{$words} = $_ if $words =~ / / && length($words) >= 12;
        }
    }
}}, $folder);

my $guide = content($guideFile);
my ($tables) = $guide =~ /^## What the texts mean\n(.*?)^## /ms;
my @rows = map { plain($_) } ($tables // '') =~ /^\| `([^`]+ [^`]+)` \|/mg;
die "no texts in $guideFile\n" unless @rows;

for my $text (sort keys %inCode) {
    differs("not in the guide: \"$text\" ($inCode{$text})") unless grep { index($_, $text) >= 0 } @rows;
}
for my $row (@rows) {
    for my $piece (map { plain($_) } split(/…/, $row)) {
        differs("not in the sources: \"$piece\"") if length($piece) > 2 && index($allCode, $piece) < 0;
    }
}

# The ini file: regBoolParam(&name, default, "name", ...
my %keys;
my $ini = content("$folder/base/ini.cpp");
$keys{$2} = $1 while $ini =~ /reg\w+Param\(\s*&\w+,\s*([^,]+),\s*"(\w+)"/g;
die "no keys in the sources\n" unless %keys;
my %told = $guide =~ /^\| `(\w+)` \| ([^|]*?) \|/mg;
for my $key (sort keys %keys) {
    if (!exists $told{$key}) { differs("key not in the guide: $key"); next; }
    my $default = $keys{$key};
    $default = $1 if $ini =~ /\bint $default = (\d+);/;
    next if $default =~ /^k/ || $default eq '""'; # told in words
    differs("default of $key is $default, in the guide $told{$key}") if $told{$key} ne "`$default`";
}
for my $key (sort keys %told) { differs("key not in the sources: $key") unless exists $keys{$key}; }

my $waysOut = content("$folder/diagnosis/ways_out.h") =~ s/"\s*\n\s*"//gr;
for my $text ($waysOut =~ /\[\] =\s*$literal/g) {
    differs("what the doctor says is not in the guide: \"$text\"") if index(plain($guide), plain($text)) < 0;
}

print "the guide and the sources agree on ", scalar(@rows), " texts and ", scalar(keys %keys), " keys\n" unless $failed;
exit $failed;
PERL
