#!/usr/bin/perl
# Walks a subtree with Perl's Net::SNMP, an SNMP engine of its own that shares nothing with net-snmp.
#
# usage: net_snmp_perl_walk.pl PORT VERSION MAXREPETITIONS OID
#
# Prints a line for each varbind, in the order of their OIDs: OID, type as a number, value in hexadecimal digits.
use strict;
use warnings;
use Net::SNMP qw(oid_lex_sort);

my ($port, $version, $repetitions, $subtree) = @ARGV;
my ($session, $error) = Net::SNMP->session(
  -hostname => '127.0.0.1', -port => $port, -version => $version, -community => 'public', -translate => 0);
die "no session: $error\n" unless defined $session;

my @repeated = $version eq '1' ? () : (-maxrepetitions => $repetitions);
my $values = $session->get_table(-baseoid => $subtree, @repeated);
die 'no answer: ', $session->error(), "\n" unless defined $values;

my $types = $session->var_bind_types();
for my $oid (oid_lex_sort(keys %$values)) {
  printf "%s %d %s\n", $oid, $types->{$oid}, unpack('H*', $values->{$oid});
}
$session->close();
