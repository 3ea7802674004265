EGFR P00533 NA Receptor Membrane GRB2 P62993 NA NA NA + binding 1
GRB2 P62993 NA Adaptor Cytosol SOS1 Q07889 NA Protein Cytosol + binding 2
SOS1 Q07889 NA Protein Cytosol KRAS P01116 NA Protein Membrane + NA 3
ERK1/2 NA NA Kinase Cytosol SOS1 Q07889 NA Kinase Cytosol - phosphorylation 4
ERK1/2 NA NA Kinase Nucleus MYC P01106 NA TF Nucleus + phosphorylation 5
PTEN P60484 NA Phosphatase Cytosol AKT1 P31749 NA Kinase Cytosol - dephosphorylation 6
AKT1 P31749 NA Kinase Cytosol GSK3B P49841 NA Kinase Cytosol inhibits phosphorylation 7
