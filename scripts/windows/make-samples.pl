#!/usr/bin/perl
# Writes the two test samples for the Wine smoke test: a.wav (stereo, 440 Hz) and
# b.wav (mono, 660 Hz), one second each at 44.1 kHz, 16-bit PCM with a short fade
# in and out. The caller turns b.wav into FLAC.
#
#   make-samples.pl <dir>
use strict;
use warnings;

my $dir = shift or die "usage: make-samples.pl <dir>\n";
my $rate = 44100;

sub write_wav {
    my ($path, $channels, $frequency) = @_;
    my $frames = $rate;
    my $fade = int($rate / 100);
    my $data = '';
    for my $n (0 .. $frames - 1) {
        my $envelope = 1.0;
        $envelope = $n / $fade if $n < $fade;
        $envelope = ($frames - 1 - $n) / $fade if $frames - 1 - $n < $fade;
        my $value = int(0.5 * 32767 * $envelope * sin(2 * 3.14159265358979 * $frequency * $n / $rate));
        $data .= pack('s<', $value) x $channels;
    }
    my $block_align = 2 * $channels;
    open(my $out, '>:raw', $path) or die "cannot write $path: $!\n";
    print $out 'RIFF', pack('V', 36 + length($data)), 'WAVE';
    print $out 'fmt ', pack('VvvVVvv', 16, 1, $channels, $rate, $rate * $block_align, $block_align, 16);
    print $out 'data', pack('V', length($data)), $data;
    close($out) or die "cannot write $path: $!\n";
}

write_wav("$dir/a.wav", 2, 440);
write_wav("$dir/b.wav", 1, 660);
